#pragma once

#include "model/message_list.h"
#include "model/message_text.h"

#include <QDateTime>
#include <QHashFunctions>
#include <QList>
#include <QMetaType>
#include <QString>
#include <QUuid>
#include <cstdint>
#include <optional>

// Whose conversation: a contact (public key, or a 12-digit key prefix for a
// sender not in the contact list) or a channel slot.
class ConversationID {
public:
    enum class Kind { contact, channel };

    ConversationID() = default;
    static ConversationID contact(const QString& key) { return {Kind::contact, key, 0}; }
    static ConversationID channel(int index) { return {Kind::channel, {}, index}; }

    Kind kind() const { return m_kind; }
    bool isContact() const { return m_kind == Kind::contact; }
    bool isChannel() const { return m_kind == Kind::channel; }
    const QString& contactKey() const { return m_key; }
    int channelIndex() const { return m_index; }

    // "contact:<key>" or "channel:<index>".
    QString conversationKey() const;
    // The target a conversation key names; none for an empty key or a
    // malformed one.
    static std::optional<ConversationID> fromKey(const QString& key);

    bool operator==(const ConversationID&) const = default;

private:
    ConversationID(Kind kind, QString key, int index)
        : m_kind(kind)
        , m_key(std::move(key))
        , m_index(index) {}

    Kind m_kind = Kind::contact;
    QString m_key;
    int m_index = 0;
};

inline size_t qHash(const ConversationID& id, size_t seed = 0) {
    return id.isContact() ? qHash(id.contactKey(), seed) : qHash(id.channelIndex(), seed ^ 1);
}

// A history holds up to millions of these: the members are ordered so that
// none leaves padding (112 bytes, besides the text).
struct ChatMessage {
    enum class Direction : std::uint8_t { incoming, outgoing };
    enum class DeliveryState : std::uint8_t { sending, sent, delivered, failed };

    QUuid id;
    MessageText text;
    QDateTime timestamp;
    std::optional<double> snr;
    std::optional<std::uint32_t> expectedAck;
    std::optional<int> pathLength;
    std::optional<std::uint32_t> roundTripMillis;
    std::optional<int> hopCount;
    std::optional<std::uint32_t> estimatedTimeoutMillis;
    Direction direction = Direction::incoming;
    DeliveryState deliveryState = DeliveryState::delivered;

    bool operator==(const ChatMessage&) const = default;
};

using MessageList = ChunkedList<ChatMessage>;

struct Conversation {
    ConversationID target;
    MessageList messages;
    QDateTime lastActivity; // distantPast() for a conversation without messages
    std::int64_t unreadCount = 0;

    bool operator==(const Conversation&) const = default;
};

// A date earlier than every real one: 0001-01-01 00:00:00 UTC.
QDateTime distantPast();

Q_DECLARE_METATYPE(ConversationID)
Q_DECLARE_METATYPE(ChatMessage)
Q_DECLARE_METATYPE(Conversation)
