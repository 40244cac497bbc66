#pragma once

#include "controller/outgoing_messages.h"
#include "model/conversation.h"

#include <QHash>
#include <QList>
#include <QString>
#include <cstdint>

// Where the messages whose delivery is not settled are in a history: ones
// still being sent, and sent ones the radio may still confirm (with an
// expected acknowledgement), by that acknowledgement. The history's reader
// notes them as it reads, so that whoever takes the history in touches only
// the few still being sent, not every message.
//
// Rows are noted against the very list they were found in, conversation by
// conversation. For a later version of that list, rows in the chunks it still
// shares with it are taken as they are (a shared chunk holds the same
// messages at the same rows) and only the other chunks are looked through; a
// conversation nothing was noted for is looked through whole.
class UnsettledMessages {
public:
    static bool isSending(const ChatMessage& message);
    static bool isAwaitingAck(const ChatMessage& message);

    // The rows (ascending) of `messages`, the list of the conversation with
    // `target`, that are still being sent and that await an acknowledgement.
    void note(const ConversationID& target, const MessageList& messages, QList<qsizetype> sending,
              QList<qsizetype> awaiting);
    // The same noted for each conversation of `history`, a later version of
    // the one noted, with awaitedAcks() gathered for it: those of messages
    // sent from `sentSince` on, when it is valid.
    UnsettledMessages in(const QList<Conversation>& history, const QDateTime& sentSince = {}) const;

    QList<qsizetype> sendingRows(const QString& key) const;
    QList<qsizetype> awaitingRows(const QString& key) const;
    // The sent messages awaiting an acknowledgement, by its code; gathered by
    // in().
    const QHash<std::uint32_t, SentMessage>& awaitedAcks() const { return m_acks; }

    // For `messages`, a version of the list of the conversation with
    // `target`: brings `acks` (a copy of awaitedAcks()) up to it and returns
    // its rows still being sent. Shared chunks cost nothing; the others are
    // looked through, and the acknowledgements of their old rows let go of.
    QList<qsizetype> follow(const ConversationID& target, const MessageList& messages,
                            QHash<std::uint32_t, SentMessage>& acks) const;
    // Lets go of the acknowledgements of the conversations noted that
    // `isGone` says are gone.
    template <typename IsGone>
    void forgetGone(QHash<std::uint32_t, SentMessage>& acks, IsGone isGone) const {
        for (auto it = m_noted.cbegin(); it != m_noted.cend(); ++it) {
            if (isGone(it.key()))
                forgetRows(*it, 0, it->messages.size(), acks);
        }
    }

private:
    struct Noted {
        ConversationID target;
        MessageList messages; // shares the chunks the rows were found in
        QList<qsizetype> sending;
        QList<qsizetype> awaiting;
    };
    // Appends the rows of `rows` (ascending) in [first, end) to `out`.
    static void appendRows(const QList<qsizetype>& rows, qsizetype first, qsizetype end,
                           QList<qsizetype>& out);
    static void forgetRows(const Noted& noted, qsizetype first, qsizetype end,
                           QHash<std::uint32_t, SentMessage>& acks);
    Noted follow(const ConversationID& target, const MessageList& messages,
                 QHash<std::uint32_t, SentMessage>* acks) const;

    QHash<QString, Noted> m_noted;
    QHash<std::uint32_t, SentMessage> m_acks;
};
