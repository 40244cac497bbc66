#pragma once

// The outgoing messages still being transmitted, and those whose delivery
// the radio may yet confirm.

#include "model/conversation.h"

#include <QDateTime>
#include <QHash>
#include <QSet>
#include <QUuid>
#include <cstdint>
#include <optional>

struct SentMessage {
    QUuid id;
    ConversationID target;
    // The message's own time: a confirmation more than a day after it is
    // no longer looked for.
    QDateTime sentAt;

    bool operator==(const SentMessage&) const = default;
};

struct OutgoingMessages {
    QSet<QUuid> transmitting;
    // By the acknowledgement code the radio said it expects for the message.
    QHash<std::uint32_t, SentMessage> awaitingAck;
    QDateTime sweptAt;

    // The message the acknowledgement confirms, no longer awaited.
    std::optional<SentMessage> takeAcknowledged(std::uint32_t ackCode);
    void forget(const QUuid& id);
    // Whether the look-up is due for its sweep at `now` (at most once an
    // hour, and only with something in it); a due sweep counts as done.
    bool sweepDue(const QDateTime& now);
    // Forgets the awaited messages sent before `oldest`.
    void forgetSentBefore(const QDateTime& oldest);
};
