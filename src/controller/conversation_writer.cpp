// Writes conversations.json and the journal's records by hand, so that a
// history of a hundred thousand messages is encoded quickly.

#include "controller/conversation_journal.h"
#include "controller/conversation_json.h"
#include "controller/conversation_store.h"

#include <charconv>
#include <cmath>
#include <type_traits>

namespace {

using namespace conversation_json;

class JsonWriter {
public:
    explicit JsonWriter(QByteArray& out)
        : m_out(out) {}
    // Hands `out` to `sink` whenever it holds a block, between messages.
    JsonWriter(QByteArray& out, qsizetype blockBytes, const BlockSink& sink)
        : m_out(out)
        , m_blockBytes(blockBytes)
        , m_sink(&sink) {}

    // A message or a conversation is done: a full block goes out. Emptying
    // keeps the array's room for the next block.
    void mayHandOver() {
        if (m_sink && m_out.size() >= m_blockBytes)
            handOver();
    }
    // What is left goes out; false when the sink refused any block.
    bool finish() {
        if (m_sink && !m_out.isEmpty())
            handOver();
        return !m_refused;
    }
    bool refused() const { return m_refused; }

    void raw(char c) { m_out.append(c); }
    void raw(const char* text, qsizetype length) { m_out.append(text, length); }
    template <qsizetype N>
    void literal(const char (&text)[N]) {
        m_out.append(text, N - 1);
    }

    template <typename Int>
    void integer(Int value) {
        static_assert(std::is_integral_v<Int>);
        char buffer[24];
        const auto result = std::to_chars(buffer, buffer + sizeof buffer, value);
        m_out.append(buffer, result.ptr - buffer);
    }

    // Shortest text that reads back as the same double.
    void number(double value) {
        char buffer[32];
        const auto result = std::to_chars(buffer, buffer + sizeof buffer, value);
        m_out.append(buffer, result.ptr - buffer);
    }

    void date(const QDateTime& date) {
        if (!date.isValid()) {
            number(distantPastSeconds);
            return;
        }
        const qint64 msecs = date.toMSecsSinceEpoch();
        if (msecs <= distantPastMSecs()) {
            number(distantPastSeconds);
            return;
        }
        number(static_cast<double>(msecs - referenceDateMSecs) / 1000.0);
    }

    void string(const QString& text) { string(QByteArrayView(text.toUtf8())); }

    void string(QByteArrayView utf8) {
        static constexpr char hexDigits[] = "0123456789abcdef";
        raw('"');
        const char* run = utf8.constData();
        const char* const end = run + utf8.size();
        for (const char* p = run; p != end; ++p) {
            const auto c = static_cast<unsigned char>(*p);
            if (c >= 0x20 && c != '"' && c != '\\')
                continue;
            raw(run, p - run);
            run = p + 1;
            switch (c) {
            case '"':
                literal("\\\"");
                break;
            case '\\':
                literal("\\\\");
                break;
            case '\n':
                literal("\\n");
                break;
            case '\r':
                literal("\\r");
                break;
            case '\t':
                literal("\\t");
                break;
            default: {
                const char escape[] = {'\\', 'u', '0', '0', hexDigits[c >> 4], hexDigits[c & 0xf]};
                raw(escape, sizeof escape);
            }
            }
        }
        raw(run, end - run);
        raw('"');
    }

    // Canonical upper-case text, 8-4-4-4-12.
    void uuid(const QUuid& id) {
        static constexpr char hexDigits[] = "0123456789ABCDEF";
        const unsigned char bytes[16] = {static_cast<unsigned char>(id.data1 >> 24),
                                         static_cast<unsigned char>(id.data1 >> 16),
                                         static_cast<unsigned char>(id.data1 >> 8),
                                         static_cast<unsigned char>(id.data1),
                                         static_cast<unsigned char>(id.data2 >> 8),
                                         static_cast<unsigned char>(id.data2),
                                         static_cast<unsigned char>(id.data3 >> 8),
                                         static_cast<unsigned char>(id.data3),
                                         id.data4[0],
                                         id.data4[1],
                                         id.data4[2],
                                         id.data4[3],
                                         id.data4[4],
                                         id.data4[5],
                                         id.data4[6],
                                         id.data4[7]};
        char text[38];
        char* p = text;
        *p++ = '"';
        for (int i = 0; i < 16; ++i) {
            if (i == 4 || i == 6 || i == 8 || i == 10)
                *p++ = '-';
            *p++ = hexDigits[bytes[i] >> 4];
            *p++ = hexDigits[bytes[i] & 0xf];
        }
        *p++ = '"';
        raw(text, p - text);
    }

private:
    void handOver() {
        m_refused = m_refused || !(*m_sink)(m_out);
        m_out.truncate(0);
    }

    QByteArray& m_out;
    qsizetype m_blockBytes = 0;
    const BlockSink* m_sink = nullptr;
    bool m_refused = false;
};

void writeDirection(JsonWriter& w, ChatMessage::Direction direction) {
    switch (direction) {
    case ChatMessage::Direction::incoming:
        w.literal("{\"incoming\":{}}");
        return;
    case ChatMessage::Direction::outgoing:
        w.literal("{\"outgoing\":{}}");
        return;
    }
}

void writeDeliveryState(JsonWriter& w, ChatMessage::DeliveryState state) {
    switch (state) {
    case ChatMessage::DeliveryState::sending:
        w.literal("{\"sending\":{}}");
        return;
    case ChatMessage::DeliveryState::sent:
        w.literal("{\"sent\":{}}");
        return;
    case ChatMessage::DeliveryState::delivered:
        w.literal("{\"delivered\":{}}");
        return;
    case ChatMessage::DeliveryState::failed:
        w.literal("{\"failed\":{}}");
        return;
    }
}

void writeMessage(JsonWriter& w, const ChatMessage& m) {
    w.literal("{\"id\":");
    w.uuid(m.id);
    w.literal(",\"direction\":");
    writeDirection(w, m.direction);
    w.literal(",\"text\":");
    w.string(QByteArrayView(m.text.utf8()));
    w.literal(",\"timestamp\":");
    w.date(m.timestamp);
    // JSON has no text for infinities or NaN; such a reading is no reading.
    if (m.snr && std::isfinite(*m.snr)) {
        w.literal(",\"snr\":");
        w.number(*m.snr);
    }
    w.literal(",\"deliveryState\":");
    writeDeliveryState(w, m.deliveryState);
    if (m.expectedAck) {
        w.literal(",\"expectedAck\":");
        w.integer(*m.expectedAck);
    }
    if (m.pathLength) {
        w.literal(",\"pathLength\":");
        w.integer(*m.pathLength);
    }
    if (m.roundTripMillis) {
        w.literal(",\"roundTripMillis\":");
        w.integer(*m.roundTripMillis);
    }
    if (m.hopCount) {
        w.literal(",\"hopCount\":");
        w.integer(*m.hopCount);
    }
    if (m.estimatedTimeoutMillis) {
        w.literal(",\"estimatedTimeoutMillis\":");
        w.integer(*m.estimatedTimeoutMillis);
    }
    w.raw('}');
}

void writeTarget(JsonWriter& w, const ConversationID& target) {
    if (target.isContact()) {
        w.literal("{\"contact\":{\"_0\":");
        w.string(target.contactKey());
    } else {
        w.literal("{\"channel\":{\"_0\":");
        w.integer(target.channelIndex());
    }
    w.literal("}}");
}

void writeConversation(JsonWriter& w, const Conversation& c) {
    w.literal("{\"target\":");
    writeTarget(w, c.target);
    w.literal(",\"messages\":[");
    bool first = true;
    for (const ChatMessage& m : c.messages) {
        if (!first)
            w.raw(',');
        first = false;
        writeMessage(w, m);
        w.mayHandOver();
        if (w.refused())
            return;
    }
    w.literal("],\"lastActivity\":");
    w.date(c.lastActivity);
    w.literal(",\"unreadCount\":");
    w.integer(c.unreadCount);
    w.raw('}');
}

// The file's array; false when the sink refused a block, and nothing more
// is written then.
bool writeConversations(JsonWriter& w, const QList<Conversation>& conversations) {
    w.raw('[');
    bool first = true;
    for (const Conversation& c : conversations) {
        if (!first)
            w.raw(',');
        first = false;
        writeConversation(w, c);
        if (w.refused())
            return false;
    }
    w.raw(']');
    return true;
}

} // namespace

QByteArray encodeConversations(const QList<Conversation>& conversations) {
    qsizetype messageCount = 0;
    for (const Conversation& c : conversations)
        messageCount += c.messages.size();

    QByteArray out;
    // Most messages take a little over 200 bytes; growing from there is cheap.
    out.reserve(messageCount * 240 + conversations.size() * 128 + 16);
    JsonWriter w(out);
    writeConversations(w, conversations);
    return out;
}

bool encodeConversations(const QList<Conversation>& conversations, qsizetype blockBytes,
                         const BlockSink& sink) {
    QByteArray out;
    // A message may take the block past its size before it goes out.
    out.reserve(blockBytes + 4096);
    JsonWriter w(out, blockBytes, sink);
    return writeConversations(w, conversations) && w.finish();
}

QByteArray encodeJournalRecord(const JournalRecord& record) {
    QByteArray out;
    out.reserve(256 + record.conversation.messages.size() * 240);
    JsonWriter w(out);
    switch (record.kind) {
    case JournalRecord::Kind::put:
        w.literal("{\"put\":");
        writeConversation(w, record.conversation);
        break;
    case JournalRecord::Kind::merge:
        w.literal("{\"merge\":");
        writeConversation(w, record.conversation);
        break;
    case JournalRecord::Kind::remove:
        w.literal("{\"remove\":");
        writeTarget(w, record.conversation.target);
        break;
    }
    w.raw('}');
    return out;
}
