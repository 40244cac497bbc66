#pragma once

#include "model/conversation.h"

#include <QList>

// A history shaped like years of real use: `conversations` conversations
// (a few channels, the rest direct) sharing `messages` messages unevenly,
// with chat-like texts of varied length, emoji, links and mentions, and the
// optional members that real messages carry (signal, paths, round trips).
QList<Conversation> generateHistory(int conversations, int messages, quint32 seed = 7);
