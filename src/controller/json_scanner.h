#pragma once

// The JSON grammar under the history's reader, kept apart from the shape it
// reads: tokens, strings with their escapes and UTF-8 check, numbers, and
// values skipped unread. Everything is inline and in an unnamed namespace: the
// history's reader is its one user, and its inner loops compile as one piece.

#include <QByteArray>
#include <QByteArrayView>
#include <QtGlobal>
#include <bit>
#include <charconv>
#include <limits>
#include <system_error>

#ifdef __SSE2__
#include <emmintrin.h>
#endif

namespace {

// Reads JSON from a view of bytes, one token at a time. Every step returns
// false as soon as anything is off.
class JsonScanner {
protected:
    explicit JsonScanner(QByteArrayView json)
        : m_begin(json.data())
        , m_p(json.data())
        , m_end(json.data() + json.size()) {}

    struct Number {
        double value = 0;
        bool isInteger = false; // written without fraction or exponent, fits qint64
        qint64 integer = 0;
    };

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

    const char* const m_begin;
    const char* m_p;
    const char* const m_end;
    QByteArray m_buffer;
};

} // namespace
