// Reads conversations.json and the journal's records straight into the
// records, checking the JSON as it goes, so that a large history loads quickly.

#include "controller/conversation_journal.h"
#include "controller/conversation_json.h"
#include "controller/conversation_store.h"
#include "controller/json_scanner.h"
#include "controller/unsettled_messages.h"

#include <array>
#include <cmath>
#include <cstring>
#include <functional>
#include <initializer_list>
#include <limits>
#include <utility>

namespace {

using namespace conversation_json;

// A JSON reader driven by the file's shape: it checks the JSON grammar as it
// goes and builds the records directly, without an intermediate document.
// Every step returns false as soon as anything is off; the caller then drops
// the whole file.
//
// Leniencies: members the shape does not know are skipped (up to 64 levels
// deep); an optional member present as null counts as absent, as other
// clients' decoders treat it (a required member that is null fails); a whole
// number written with a fraction or exponent ("3.0") is accepted where an
// integer is expected; UUIDs may use lower-case digits; the member holding an
// enumeration case must be an object, but what it contains is not looked at;
// an escaped surrogate without its partner becomes U+FFFD.
class JsonReader : JsonScanner {
public:
    // `readUpTo`, when given, is told between messages how far the reader
    // has come, now and then: it never looks at the bytes before again.
    // `unsettled`, when given, has the unsettled messages of each
    // conversation of a file noted.
    explicit JsonReader(QByteArrayView json,
                        const std::function<void(qsizetype)>* readUpTo = nullptr,
                        UnsettledMessages* unsettled = nullptr)
        : JsonScanner(json)
        , m_readUpTo(readUpTo)
        , m_reported(json.data())
        , m_unsettled(unsettled) {}

    bool file(QList<Conversation>& out) {
        m_texts.emplace();
        if (!array([&] {
                Conversation c;
                if (!conversation(c))
                    return false;
                if (m_unsettled)
                    m_unsettled->note(c.target, c.messages, std::exchange(m_sendingRows, {}),
                                      std::exchange(m_awaitingRows, {}));
                out.append(std::move(c));
                return true;
            }))
            return false;
        skipSpace();
        return m_p == m_end;
    }

    // {"put":<conversation>}, {"merge":<conversation>} or {"remove":<target>}.
    bool record(JournalRecord& out) {
        int members = 0;
        const bool ok = object([&](QByteArrayView name) {
            if (++members != 1)
                return false;
            if (is(name, "put") || is(name, "merge")) {
                out.kind = is(name, "put") ? JournalRecord::Kind::put : JournalRecord::Kind::merge;
                return conversation(out.conversation);
            }
            if (is(name, "remove")) {
                out.kind = JournalRecord::Kind::remove;
                out.conversation = Conversation{};
                return target(out.conversation.target);
            }
            return false;
        });
        skipSpace();
        return ok && members == 1 && m_p == m_end;
    }

private:
    // ---- values of the shape

    bool null() { return next('n') && word("null"); }

    bool integer(qint64 low, qint64 high, qint64& out) {
        Number n;
        if (!number(n))
            return false;
        if (!n.isInteger) {
            // A whole number in another spelling ("3.0", "1e3").
            if (!(n.value >= -9.2e18 && n.value <= 9.2e18) || n.value != std::trunc(n.value))
                return false;
            n.integer = static_cast<qint64>(n.value);
        }
        if (n.integer < low || n.integer > high)
            return false;
        out = n.integer;
        return true;
    }

    template <typename Int>
    bool integer(Int& out) {
        qint64 value = 0;
        if (!integer(qint64(std::numeric_limits<Int>::min()),
                     qint64(std::numeric_limits<Int>::max()), value))
            return false;
        out = static_cast<Int>(value);
        return true;
    }

    template <typename Int>
    bool optionalInteger(std::optional<Int>& out) {
        if (null()) {
            out.reset();
            return true;
        }
        Int value{};
        if (!integer(value))
            return false;
        out = value;
        return true;
    }

    bool text(QString& out) {
        QByteArrayView utf8;
        if (!string(utf8))
            return false;
        out = QString::fromUtf8(utf8);
        return true;
    }

    bool text(MessageText& out) {
        QByteArrayView utf8;
        if (!string(utf8))
            return false;
        out = m_texts ? m_texts->add(utf8) : MessageText::fromUtf8(utf8.toByteArray());
        return true;
    }

    bool date(QDateTime& out) {
        Number n;
        if (!number(n))
            return false;
        out = dateFromSeconds(n.value);
        return true;
    }

    bool uuid(QUuid& out) {
        QByteArrayView text;
        if (!string(text) || text.size() != 36 || text[8] != '-' || text[13] != '-' ||
            text[18] != '-' || text[23] != '-')
            return false;
        // Where each of the 16 bytes' two digits start.
        static constexpr std::array<unsigned char, 16> at{0,  2,  4,  6,  9,  11, 14, 16,
                                                          19, 21, 24, 26, 28, 30, 32, 34};
        unsigned char bytes[16];
        int invalid = 0; // negative once any digit is not hex
        for (int b = 0; b < 16; ++b) {
            const int high = hexValue(text.data()[at[b]]);
            const int low = hexValue(text.data()[at[b] + 1]);
            invalid |= high | low;
            bytes[b] = static_cast<unsigned char>((high & 0xf) << 4 | (low & 0xf));
        }
        if (invalid < 0)
            return false;
        out = QUuid(uint(bytes[0]) << 24 | uint(bytes[1]) << 16 | uint(bytes[2]) << 8 | bytes[3],
                    ushort(bytes[4] << 8 | bytes[5]), ushort(bytes[6] << 8 | bytes[7]), bytes[8],
                    bytes[9], bytes[10], bytes[11], bytes[12], bytes[13], bytes[14], bytes[15]);
        return true;
    }

    // {"<case>":{...}}: exactly one member. `payload` reads the member's value.
    template <typename Payload>
    bool enumeration(Payload&& payload) {
        int members = 0;
        return object([&](QByteArrayView name) { return ++members == 1 && payload(name); }) &&
               members == 1;
    }

    // A case without payload: the value is an object, its contents ignored.
    template <typename Enum>
    bool plainCase(std::initializer_list<std::pair<QByteArrayView, Enum>> cases, Enum& out) {
        return enumeration([&](QByteArrayView name) {
            for (const auto& [caseName, value] : cases) {
                if (name.size() == caseName.size() &&
                    std::memcmp(name.data(), caseName.data(), size_t(name.size())) == 0) {
                    out = value;
                    return next('{') && skipValue();
                }
            }
            return false;
        });
    }

    bool target(ConversationID& out) {
        return enumeration([&](QByteArrayView name) {
            const bool contact = is(name, "contact");
            if (!contact && !is(name, "channel"))
                return false;
            bool found = false;
            return object([&](QByteArrayView key) {
                       if (!is(key, "_0"))
                           return skipValue();
                       found = true;
                       if (contact) {
                           QString keyText;
                           if (!text(keyText))
                               return false;
                           out = ConversationID::contact(keyText);
                           return true;
                       }
                       int index = 0;
                       if (!integer(index))
                           return false;
                       out = ConversationID::channel(index);
                       return true;
                   }) &&
                   found;
        });
    }

    bool message(ChatMessage& m) {
        enum : unsigned { id = 1, direction = 2, text_ = 4, timestamp = 8, deliveryState = 16 };
        unsigned seen = 0;
        const bool ok = object([&](QByteArrayView key) {
            switch (key.size() > 0 ? key[0] : 0) {
            case 'i':
                if (is(key, "id")) {
                    seen |= id;
                    return uuid(m.id);
                }
                break;
            case 'd':
                if (is(key, "direction")) {
                    seen |= direction;
                    return plainCase<ChatMessage::Direction>(
                        {{"incoming", ChatMessage::Direction::incoming},
                         {"outgoing", ChatMessage::Direction::outgoing}},
                        m.direction);
                }
                if (is(key, "deliveryState")) {
                    seen |= deliveryState;
                    return plainCase<ChatMessage::DeliveryState>(
                        {{"sending", ChatMessage::DeliveryState::sending},
                         {"sent", ChatMessage::DeliveryState::sent},
                         {"delivered", ChatMessage::DeliveryState::delivered},
                         {"failed", ChatMessage::DeliveryState::failed}},
                        m.deliveryState);
                }
                break;
            case 't':
                if (is(key, "text")) {
                    seen |= text_;
                    return text(m.text);
                }
                if (is(key, "timestamp")) {
                    seen |= timestamp;
                    return date(m.timestamp);
                }
                break;
            case 's':
                if (is(key, "snr")) {
                    if (null()) {
                        m.snr.reset();
                        return true;
                    }
                    Number n;
                    if (!number(n))
                        return false;
                    // Past the range of a double is no reading (the writer
                    // has no number for it either).
                    if (std::isfinite(n.value))
                        m.snr = n.value;
                    else
                        m.snr.reset();
                    return true;
                }
                break;
            case 'e':
                if (is(key, "expectedAck"))
                    return optionalInteger(m.expectedAck);
                if (is(key, "estimatedTimeoutMillis"))
                    return optionalInteger(m.estimatedTimeoutMillis);
                break;
            case 'p':
                if (is(key, "pathLength"))
                    return optionalInteger(m.pathLength);
                break;
            case 'r':
                if (is(key, "roundTripMillis"))
                    return optionalInteger(m.roundTripMillis);
                break;
            case 'h':
                if (is(key, "hopCount"))
                    return optionalInteger(m.hopCount);
                break;
            }
            return skipValue();
        });
        return ok && seen == (id | direction | text_ | timestamp | deliveryState);
    }

    bool conversation(Conversation& c) {
        enum : unsigned { target_ = 1, messages = 2, lastActivity = 4, unreadCount = 8 };
        unsigned seen = 0;
        const bool ok = object([&](QByteArrayView key) {
            if (is(key, "target")) {
                seen |= target_;
                return target(c.target);
            }
            if (is(key, "messages")) {
                seen |= messages;
                c.messages.clear();
                m_sendingRows.clear();
                m_awaitingRows.clear();
                return array([&] {
                    ChatMessage m;
                    if (!message(m))
                        return false;
                    if (UnsettledMessages::isSending(m))
                        m_sendingRows.append(c.messages.size());
                    else if (UnsettledMessages::isAwaitingAck(m))
                        m_awaitingRows.append(c.messages.size());
                    c.messages.append(std::move(m));
                    if (m_readUpTo && m_p - m_reported >= readReportBytes) {
                        m_reported = m_p;
                        (*m_readUpTo)(m_p - m_begin);
                    }
                    return true;
                });
            }
            if (is(key, "lastActivity")) {
                seen |= lastActivity;
                return date(c.lastActivity);
            }
            if (is(key, "unreadCount")) {
                seen |= unreadCount;
                return integer(c.unreadCount);
            }
            return skipValue();
        });
        return ok && seen == (target_ | messages | lastActivity | unreadCount);
    }

    // How far the reader goes between two reports of where it is.
    static constexpr qsizetype readReportBytes = 4 << 20;

    const std::function<void(qsizetype)>* const m_readUpTo;
    const char* m_reported;
    UnsettledMessages* const m_unsettled;
    // Of the conversation being read.
    QList<qsizetype> m_sendingRows;
    QList<qsizetype> m_awaitingRows;
    // The texts of a whole file share blocks; a journal record's few texts
    // get an allocation each, so that no block outlives its use.
    std::optional<MessageTextBlocks> m_texts;
};

} // namespace

std::optional<QList<Conversation>> decodeConversations(QByteArrayView json) {
    return decodeConversations(json, {});
}

std::optional<QList<Conversation>>
decodeConversations(QByteArrayView json, const std::function<void(qsizetype)>& readUpTo,
                    UnsettledMessages* unsettled) {
    QList<Conversation> conversations;
    if (!JsonReader(json, readUpTo ? &readUpTo : nullptr, unsettled).file(conversations))
        return std::nullopt;
    return conversations;
}

std::optional<JournalRecord> decodeJournalRecord(QByteArrayView json) {
    JournalRecord record;
    if (!JsonReader(json).record(record))
        return std::nullopt;
    return record;
}
