#pragma once

#include "model/conversation.h"

#include <QHash>
#include <QList>
#include <QString>
#include <algorithm>

// A history shaped like years of real use: `conversations` conversations
// (a few channels, the rest direct) sharing `messages` messages unevenly,
// with chat-like texts of varied length, emoji, links and mentions, and the
// optional members that real messages carry (signal, paths, round trips).
QList<Conversation> generateHistory(int conversations, int messages, quint32 seed = 7);

// The conversation with the most messages (end() when there is none).
inline QHash<QString, Conversation>::const_iterator
biggestConversation(const QHash<QString, Conversation>& conversations) {
    return std::max_element(conversations.cbegin(), conversations.cend(),
                            [](const Conversation& a, const Conversation& b) {
                                return a.messages.size() < b.messages.size();
                            });
}
