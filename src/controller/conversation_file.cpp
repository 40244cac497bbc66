// The exact JSON shape of conversations.json, written and read by hand so that
// a history of a hundred thousand messages stays quick both ways.
//
// Shape, per conversation:
//   {"target":{"contact":{"_0":"<key>"}} | {"channel":{"_0":3}},
//    "messages":[...], "lastActivity":<seconds>, "unreadCount":<integer>}
// per message:
//   {"id":"<UUID>", "direction":{"incoming":{}}, "text":"...", "timestamp":<seconds>,
//    "snr":<number>, "deliveryState":{"delivered":{}}, "expectedAck":<integer>,
//    "pathLength":<integer>, "roundTripMillis":<integer>, "hopCount":<integer>,
//    "estimatedTimeoutMillis":<integer>}
// Dates are seconds (with fraction) since 2001-01-01 00:00:00 UTC. Optional
// members are left out when they have no value. Enumerations are objects with
// one member named after the case, whose value is an empty object.

#include "controller/conversation_journal.h"
#include "controller/conversation_store.h"

#include <algorithm>
#include <bit>
#include <charconv>
#include <cmath>
#include <functional>
#include <initializer_list>
#include <limits>
#include <type_traits>
#include <utility>

#ifdef __SSE2__
#include <emmintrin.h>
#endif

namespace {

// 2001-01-01 00:00:00 UTC in milliseconds since 1970.
constexpr qint64 referenceDateMSecs = 978307200000;

// What other clients write for the distant past: 0001-01-01 in the Julian
// calendar, as seconds since the reference date. Written for our own
// distantPast() too, so that an empty conversation looks the same in the file
// whichever client wrote it.
constexpr double distantPastSeconds = -63114076800.0;

// The latest date read back as itself; later numbers are clamped to it so
// that the millisecond arithmetic below cannot overflow.
constexpr double latestSeconds = 1.0e13;

qint64 distantPastMSecs() {
    static const qint64 msecs = distantPast().toMSecsSinceEpoch();
    return msecs;
}

QDateTime dateFromSeconds(double seconds) {
    // Anything at or before our own distant past (the other clients' value is
    // two days earlier) reads as distantPast(), so that both compare equal.
    if (!(seconds * 1000.0 > static_cast<double>(distantPastMSecs() - referenceDateMSecs)))
        return distantPast();
    const double clamped = std::min(seconds, latestSeconds);
    return QDateTime::fromMSecsSinceEpoch(std::llround(clamped * 1000.0) + referenceDateMSecs,
                                          Qt::UTC);
}

// ---------------------------------------------------------------- writing

class JsonWriter {
public:
    explicit JsonWriter(QByteArray& out)
        : m_out(out) {}

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
    QByteArray& m_out;
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
    }
    w.literal("],\"lastActivity\":");
    w.date(c.lastActivity);
    w.literal(",\"unreadCount\":");
    w.integer(c.unreadCount);
    w.raw('}');
}

// ---------------------------------------------------------------- reading

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
class JsonReader {
public:
    // `readUpTo`, when given, is told between messages how far the reader
    // has come, now and then: it never looks at the bytes before again.
    explicit JsonReader(QByteArrayView json,
                        const std::function<void(qsizetype)>* readUpTo = nullptr)
        : m_begin(json.data())
        , m_p(json.data())
        , m_end(json.data() + json.size())
        , m_readUpTo(readUpTo)
        , m_reported(json.data()) {}

    bool file(QList<Conversation>& out) {
        if (!array([&] {
                Conversation c;
                if (!conversation(c))
                    return false;
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
            if (name == "put" || name == "merge") {
                out.kind = name == "put" ? JournalRecord::Kind::put : JournalRecord::Kind::merge;
                return conversation(out.conversation);
            }
            if (name == "remove") {
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
    struct Number {
        double value = 0;
        bool isInteger = false; // written without fraction or exponent, fits qint64
        qint64 integer = 0;
    };

    // ---- grammar

    void skipSpace() {
        while (m_p != m_end && (*m_p == ' ' || *m_p == '\n' || *m_p == '\r' || *m_p == '\t'))
            ++m_p;
    }

    bool consume(char c) {
        skipSpace();
        if (m_p == m_end || *m_p != c)
            return false;
        ++m_p;
        return true;
    }

    // The next token starts with `c` (not consumed).
    bool next(char c) {
        skipSpace();
        return m_p != m_end && *m_p == c;
    }

    bool word(QByteArrayView w) {
        skipSpace();
        if (m_end - m_p < w.size() || QByteArrayView(m_p, w.size()) != w)
            return false;
        m_p += w.size();
        return true;
    }

    static int hexValue(char c) {
        if (c >= '0' && c <= '9')
            return c - '0';
        if (c >= 'a' && c <= 'f')
            return c - 'a' + 10;
        if (c >= 'A' && c <= 'F')
            return c - 'A' + 10;
        return -1;
    }

    bool hex4(char32_t& out) {
        if (m_end - m_p < 4)
            return false;
        out = 0;
        for (int i = 0; i < 4; ++i) {
            const int digit = hexValue(m_p[i]);
            if (digit < 0)
                return false;
            out = out << 4 | char32_t(digit);
        }
        m_p += 4;
        return true;
    }

    void appendUtf8(char32_t u) {
        if (u < 0x80) {
            m_buffer.append(char(u));
        } else if (u < 0x800) {
            m_buffer.append(char(0xc0 | u >> 6));
            m_buffer.append(char(0x80 | (u & 0x3f)));
        } else if (u < 0x10000) {
            m_buffer.append(char(0xe0 | u >> 12));
            m_buffer.append(char(0x80 | (u >> 6 & 0x3f)));
            m_buffer.append(char(0x80 | (u & 0x3f)));
        } else {
            m_buffer.append(char(0xf0 | u >> 18));
            m_buffer.append(char(0x80 | (u >> 12 & 0x3f)));
            m_buffer.append(char(0x80 | (u >> 6 & 0x3f)));
            m_buffer.append(char(0x80 | (u & 0x3f)));
        }
    }

    // A string's UTF-8 content. The view points into the input when the
    // string has no escapes, else into a buffer reused by the next call.
    //
    // JSON text is UTF-8, and outside strings the grammar takes ASCII only:
    // checking each string as it is read checks the whole input, without a
    // pass of its own over it.
    bool string(QByteArrayView& out) {
        if (!consume('"'))
            return false;
        const char* const start = m_p;
        unsigned char seen = 0; // all bytes or-ed: the top bit tells of non-ASCII
#ifdef __SSE2__
        // Sixteen bytes at a time up to the first quote, backslash or
        // control character: most of a history file is message texts.
        const __m128i quote = _mm_set1_epi8('"');
        const __m128i backslash = _mm_set1_epi8('\\');
        const __m128i space = _mm_set1_epi8(0x20);
        while (m_end - m_p >= 16) {
            const __m128i bytes = _mm_loadu_si128(reinterpret_cast<const __m128i*>(m_p));
            // Bytes below 0x20 (and not beyond ASCII, which are negative).
            const __m128i control = _mm_andnot_si128(_mm_cmplt_epi8(bytes, _mm_setzero_si128()),
                                                     _mm_cmplt_epi8(bytes, space));
            const int stops = _mm_movemask_epi8(_mm_or_si128(
                _mm_or_si128(_mm_cmpeq_epi8(bytes, quote), _mm_cmpeq_epi8(bytes, backslash)),
                control));
            const int high = _mm_movemask_epi8(bytes);
            if (stops == 0) {
                seen |= high ? 0x80 : 0;
                m_p += 16;
                continue;
            }
            const int before = std::countr_zero(unsigned(stops));
            seen |= high & ((1 << before) - 1) ? 0x80 : 0;
            m_p += before;
            break;
        }
#endif
        while (m_p != m_end && *m_p != '"' && *m_p != '\\' &&
               static_cast<unsigned char>(*m_p) >= 0x20)
            seen |= static_cast<unsigned char>(*m_p++);
        if (m_p == m_end)
            return false;
        if (*m_p == '"') {
            out = QByteArrayView(start, m_p - start);
            ++m_p;
            return seen < 0x80 || out.isValidUtf8();
        }
        m_buffer.clear();
        m_buffer.append(start, m_p - start);
        while (m_p != m_end) {
            const char c = *m_p++;
            if (c == '"') {
                out = m_buffer;
                // The text as written, escapes and all (they are ASCII).
                return QByteArrayView(start, m_p - 1 - start).isValidUtf8();
            }
            if (static_cast<unsigned char>(c) < 0x20)
                return false;
            if (c != '\\') {
                m_buffer.append(c);
                continue;
            }
            if (m_p == m_end)
                return false;
            switch (*m_p++) {
            case '"':
                m_buffer.append('"');
                break;
            case '\\':
                m_buffer.append('\\');
                break;
            case '/':
                m_buffer.append('/');
                break;
            case 'b':
                m_buffer.append('\b');
                break;
            case 'f':
                m_buffer.append('\f');
                break;
            case 'n':
                m_buffer.append('\n');
                break;
            case 'r':
                m_buffer.append('\r');
                break;
            case 't':
                m_buffer.append('\t');
                break;
            case 'u': {
                char32_t u = 0;
                if (!hex4(u))
                    return false;
                if (u >= 0xd800 && u < 0xdc00 && m_end - m_p >= 6 && m_p[0] == '\\' &&
                    m_p[1] == 'u') {
                    const char* const mark = m_p;
                    m_p += 2;
                    char32_t low = 0;
                    if (hex4(low) && low >= 0xdc00 && low < 0xe000)
                        u = 0x10000 + ((u - 0xd800) << 10) + (low - 0xdc00);
                    else
                        m_p = mark;
                }
                // A surrogate without its partner has no UTF-8 form.
                appendUtf8(u >= 0xd800 && u < 0xe000 ? char32_t(0xfffd) : u);
                break;
            }
            default:
                return false;
            }
        }
        return false;
    }

    bool number(Number& out) {
        skipSpace();
        const char* const start = m_p;
        const auto digits = [&] {
            const char* const first = m_p;
            while (m_p != m_end && *m_p >= '0' && *m_p <= '9')
                ++m_p;
            return m_p != first;
        };
        if (m_p != m_end && *m_p == '-')
            ++m_p;
        if (m_p == m_end)
            return false;
        if (*m_p == '0')
            ++m_p;
        else if (!digits())
            return false;
        bool whole = true;
        if (m_p != m_end && *m_p == '.') {
            ++m_p;
            whole = false;
            if (!digits())
                return false;
        }
        if (m_p != m_end && (*m_p == 'e' || *m_p == 'E')) {
            ++m_p;
            whole = false;
            if (m_p != m_end && (*m_p == '+' || *m_p == '-'))
                ++m_p;
            if (!digits())
                return false;
        }
        out.isInteger = false;
        if (whole) {
            const auto result = std::from_chars(start, m_p, out.integer);
            if (result.ec == std::errc()) {
                out.isInteger = true;
                out.value = static_cast<double>(out.integer);
                return true;
            }
        }
        const auto result = std::from_chars(start, m_p, out.value);
        if (result.ec == std::errc::result_out_of_range) {
            // Too large or too small for a double: infinity or zero, as
            // other readers do.
            const char* e = start;
            while (e != m_p && *e != 'e' && *e != 'E')
                ++e;
            const bool tiny = e != m_p && e + 1 != m_p && e[1] == '-';
            const double magnitude = tiny ? 0.0 : std::numeric_limits<double>::infinity();
            out.value = *start == '-' ? -magnitude : magnitude;
            return true;
        }
        return result.ec == std::errc();
    }

    // Any value, checked for grammar and thrown away.
    bool skipValue(int depth = 0) {
        if (depth > 64)
            return false;
        skipSpace();
        if (m_p == m_end)
            return false;
        switch (*m_p) {
        case '{':
            return object([&](QByteArrayView) { return skipValue(depth + 1); });
        case '[':
            return array([&] { return skipValue(depth + 1); });
        case '"': {
            QByteArrayView ignored;
            return string(ignored);
        }
        case 't':
            return word("true");
        case 'f':
            return word("false");
        case 'n':
            return word("null");
        default: {
            Number ignored;
            return number(ignored);
        }
        }
    }

    // Calls `member(key)` for each member; it must read the value.
    template <typename Member>
    bool object(Member&& member) {
        if (!consume('{'))
            return false;
        if (consume('}'))
            return true;
        do {
            QByteArrayView key;
            if (!string(key))
                return false;
            // A key with escapes lives in the buffer the value may reuse.
            QByteArray ownKey;
            if (key.data() == m_buffer.constData()) {
                ownKey = key.toByteArray();
                key = ownKey;
            }
            if (!consume(':') || !member(key))
                return false;
        } while (consume(','));
        return consume('}');
    }

    template <typename Element>
    bool array(Element&& element) {
        if (!consume('['))
            return false;
        if (consume(']'))
            return true;
        do {
            if (!element())
                return false;
        } while (consume(','));
        return consume(']');
    }

    // ---- values of the shape

    bool null() {
        return next('n') && word("null");
    }

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
        out = MessageText::fromUtf8(utf8.toByteArray());
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
        if (!string(text) || text.size() != 36)
            return false;
        unsigned char bytes[16];
        int b = 0;
        for (int i = 0; i < 36;) {
            if (i == 8 || i == 13 || i == 18 || i == 23) {
                if (text[i] != '-')
                    return false;
                ++i;
                continue;
            }
            const int high = hexValue(text[i]);
            const int low = hexValue(text[i + 1]);
            if (high < 0 || low < 0)
                return false;
            bytes[b++] = static_cast<unsigned char>(high << 4 | low);
            i += 2;
        }
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
                if (name == caseName) {
                    out = value;
                    return next('{') && skipValue();
                }
            }
            return false;
        });
    }

    bool target(ConversationID& out) {
        return enumeration([&](QByteArrayView name) {
            const bool contact = name == "contact";
            if (!contact && name != "channel")
                return false;
            bool found = false;
            return object([&](QByteArrayView key) {
                       if (key != "_0")
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
                if (key == "id") {
                    seen |= id;
                    return uuid(m.id);
                }
                break;
            case 'd':
                if (key == "direction") {
                    seen |= direction;
                    return plainCase<ChatMessage::Direction>(
                        {{"incoming", ChatMessage::Direction::incoming},
                         {"outgoing", ChatMessage::Direction::outgoing}},
                        m.direction);
                }
                if (key == "deliveryState") {
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
                if (key == "text") {
                    seen |= text_;
                    return text(m.text);
                }
                if (key == "timestamp") {
                    seen |= timestamp;
                    return date(m.timestamp);
                }
                break;
            case 's':
                if (key == "snr") {
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
                if (key == "expectedAck")
                    return optionalInteger(m.expectedAck);
                if (key == "estimatedTimeoutMillis")
                    return optionalInteger(m.estimatedTimeoutMillis);
                break;
            case 'p':
                if (key == "pathLength")
                    return optionalInteger(m.pathLength);
                break;
            case 'r':
                if (key == "roundTripMillis")
                    return optionalInteger(m.roundTripMillis);
                break;
            case 'h':
                if (key == "hopCount")
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
            if (key == "target") {
                seen |= target_;
                return target(c.target);
            }
            if (key == "messages") {
                seen |= messages;
                c.messages.clear();
                return array([&] {
                    ChatMessage m;
                    if (!message(m))
                        return false;
                    c.messages.append(std::move(m));
                    if (m_readUpTo && m_p - m_reported >= readReportBytes) {
                        m_reported = m_p;
                        (*m_readUpTo)(m_p - m_begin);
                    }
                    return true;
                });
            }
            if (key == "lastActivity") {
                seen |= lastActivity;
                return date(c.lastActivity);
            }
            if (key == "unreadCount") {
                seen |= unreadCount;
                return integer(c.unreadCount);
            }
            return skipValue();
        });
        return ok && seen == (target_ | messages | lastActivity | unreadCount);
    }

    // How far the reader goes between two reports of where it is.
    static constexpr qsizetype readReportBytes = 4 << 20;

    const char* const m_begin;
    const char* m_p;
    const char* const m_end;
    const std::function<void(qsizetype)>* const m_readUpTo;
    const char* m_reported;
    QByteArray m_buffer;
};

} // namespace

QByteArray encodeConversations(const QList<Conversation>& conversations) {
    qsizetype messageCount = 0;
    for (const Conversation& c : conversations)
        messageCount += c.messages.size();

    QByteArray out;
    // Most messages take a little over 200 bytes; growing from there is cheap.
    out.reserve(messageCount * 240 + conversations.size() * 128 + 16);
    JsonWriter w(out);
    w.raw('[');
    bool first = true;
    for (const Conversation& c : conversations) {
        if (!first)
            w.raw(',');
        first = false;
        writeConversation(w, c);
    }
    w.raw(']');
    return out;
}

std::optional<QList<Conversation>> decodeConversations(QByteArrayView json) {
    return decodeConversations(json, {});
}

std::optional<QList<Conversation>>
decodeConversations(QByteArrayView json, const std::function<void(qsizetype)>& readUpTo) {
    QList<Conversation> conversations;
    if (!JsonReader(json, readUpTo ? &readUpTo : nullptr).file(conversations))
        return std::nullopt;
    return conversations;
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

std::optional<JournalRecord> decodeJournalRecord(QByteArrayView json) {
    JournalRecord record;
    if (!JsonReader(json).record(record))
        return std::nullopt;
    return record;
}
