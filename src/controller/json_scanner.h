#pragma once

// The JSON grammar under the history's reader, kept apart from the shape it
// reads: tokens, strings with their escapes and UTF-8 check, numbers, and
// values skipped unread. Everything is inline and in an unnamed namespace: the
// history's reader is its one user, and its inner loops compile as one piece.

#include <QByteArray>
#include <QByteArrayView>
#include <QtGlobal>
#include <array>
#include <bit>
#include <charconv>
#include <cstdint>
#include <cstring>
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

    static constexpr double powersOfTen[] = {1e0,  1e1,  1e2,  1e3,  1e4,  1e5,  1e6,  1e7,
                                             1e8,  1e9,  1e10, 1e11, 1e12, 1e13, 1e14, 1e15,
                                             1e16, 1e17, 1e18, 1e19, 1e20, 1e21, 1e22};

    struct Number {
        double value = 0;
        bool isInteger = false; // written without fraction or exponent, fits qint64
        qint64 integer = 0;
    };

    // Whether `key` is `name` (a literal), compared inline.
    template <qsizetype N>
    static bool is(QByteArrayView key, const char (&name)[N]) {
        return key.size() == N - 1 && std::memcmp(key.data(), name, N - 1) == 0;
    }

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

    // The value of each hex digit, and -1 for every other byte: a lookup
    // without branches, which matters for the 32 digits of every message id.
    static constexpr std::array<signed char, 256> hexDigits = [] {
        std::array<signed char, 256> digits{};
        for (int c = 0; c < 256; ++c) {
            digits[c] = c >= '0' && c <= '9'   ? c - '0'
                        : c >= 'a' && c <= 'f' ? c - 'a' + 10
                        : c >= 'A' && c <= 'F' ? c - 'A' + 10
                                               : -1;
        }
        return digits;
    }();

    static int hexValue(char c) { return hexDigits[static_cast<unsigned char>(c)]; }

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

    // Whether [p, end) is UTF-8: shortest forms only, no surrogates, nothing
    // past U+10FFFF (what QUtf8::isValidUtf8 takes, checked here without a
    // call for each text).
    static bool isUtf8(const char* p, const char* end) {
        const auto byte = [](const char* at) { return static_cast<unsigned char>(*at); };
        const auto continuation = [&](const char* at) { return (byte(at) & 0xc0) == 0x80; };
        while (p != end) {
            const unsigned lead = byte(p);
            if (lead < 0x80) {
                ++p;
                continue;
            }
            if (lead < 0xc2) // a continuation byte, or a two-byte overlong form
                return false;
            if (lead < 0xe0) {
                if (end - p < 2 || !continuation(p + 1))
                    return false;
                p += 2;
                continue;
            }
            if (lead < 0xf0) {
                if (end - p < 3 || !continuation(p + 1) || !continuation(p + 2))
                    return false;
                const unsigned second = byte(p + 1);
                if ((lead == 0xe0 && second < 0xa0) || (lead == 0xed && second >= 0xa0))
                    return false; // overlong, or a surrogate
                p += 3;
                continue;
            }
            if (lead < 0xf5) {
                if (end - p < 4 || !continuation(p + 1) || !continuation(p + 2) ||
                    !continuation(p + 3))
                    return false;
                const unsigned second = byte(p + 1);
                if ((lead == 0xf0 && second < 0x90) || (lead == 0xf4 && second >= 0x90))
                    return false; // overlong, or past U+10FFFF
                p += 4;
                continue;
            }
            return false;
        }
        return true;
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
        const char* firstHigh = nullptr; // the first byte beyond ASCII, if any
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
            const unsigned stops = unsigned(_mm_movemask_epi8(_mm_or_si128(
                _mm_or_si128(_mm_cmpeq_epi8(bytes, quote), _mm_cmpeq_epi8(bytes, backslash)),
                control)));
            const unsigned high = unsigned(_mm_movemask_epi8(bytes));
            const unsigned before = stops ? unsigned(std::countr_zero(stops)) : 16;
            const unsigned highBefore = high & ((1u << before) - 1);
            if (highBefore && !firstHigh)
                firstHigh = m_p + std::countr_zero(highBefore);
            m_p += before;
            if (stops)
                break;
        }
#endif
        while (m_p != m_end && *m_p != '"' && *m_p != '\\' &&
               static_cast<unsigned char>(*m_p) >= 0x20) {
            if (static_cast<unsigned char>(*m_p) >= 0x80 && !firstHigh)
                firstHigh = m_p;
            ++m_p;
        }
        if (m_p == m_end)
            return false;
        if (*m_p == '"') {
            out = QByteArrayView(start, m_p - start);
            ++m_p;
            return !firstHigh || isUtf8(firstHigh, m_p - 1);
        }
        m_buffer.clear();
        m_buffer.append(start, m_p - start);
        while (m_p != m_end) {
            const char c = *m_p++;
            if (c == '"') {
                out = m_buffer;
                // The text as written, escapes and all (they are ASCII).
                return isUtf8(start, m_p - 1);
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
        // The digits as one whole number, as long as they fit (at most 19).
        std::uint64_t mantissa = 0;
        qsizetype digitCount = 0;
        const auto digits = [&] {
            const char* const first = m_p;
            while (m_p != m_end && *m_p >= '0' && *m_p <= '9')
                mantissa = mantissa * 10 + unsigned(*m_p++ - '0');
            digitCount += m_p - first;
            return m_p != first;
        };
        const bool negative = m_p != m_end && *m_p == '-';
        if (negative)
            ++m_p;
        if (m_p == m_end)
            return false;
        if (*m_p == '0')
            ++m_p;
        else if (!digits())
            return false;
        qsizetype fractionDigits = 0;
        if (m_p != m_end && *m_p == '.') {
            ++m_p;
            const qsizetype before = digitCount;
            if (!digits())
                return false;
            fractionDigits = digitCount - before;
        }
        bool exponent = false;
        if (m_p != m_end && (*m_p == 'e' || *m_p == 'E')) {
            ++m_p;
            exponent = true;
            if (m_p != m_end && (*m_p == '+' || *m_p == '-'))
                ++m_p;
            if (!digits())
                return false;
        }
        const bool whole = fractionDigits == 0 && !exponent;
        out.isInteger = false;
        if (!exponent && digitCount <= 18) {
            // Exact: the digits are a whole number of at most 53 bits, and a
            // power of ten up to 22 is a double too, so one division rounds
            // as a full conversion would.
            if (whole) {
                out.integer = negative ? -qint64(mantissa) : qint64(mantissa);
                out.isInteger = true;
                out.value = static_cast<double>(out.integer);
                return true;
            }
            if (mantissa <= (std::uint64_t(1) << 53) && fractionDigits <= 22) {
                const double value = static_cast<double>(mantissa) / powersOfTen[fractionDigits];
                out.value = negative ? -value : value;
                return true;
            }
        }
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
