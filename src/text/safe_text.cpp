#include "text/safe_text.h"

#include "text/graphemes.h"

#include <QList>

namespace Text {

namespace {

constexpr char32_t placeholder = 0xFFFD;
constexpr char32_t zeroWidthNonJoiner = 0x200C;
constexpr char32_t zeroWidthJoiner = 0x200D;
constexpr char32_t firstStrongIsolate = 0x2068;
constexpr char32_t popDirectionalIsolate = 0x2069;
constexpr char32_t blackFlag = 0x1F3F4;
constexpr char32_t cancelTag = 0xE007F;
constexpr int maxMarksInARun = 4;

enum class Lines { placeholder, space, keep };

bool isLineBreak(char32_t c) {
    return c == u'\n' || c == u'\r' || c == 0x2028 || c == 0x2029;
}

bool isControl(char32_t c) {
    return c < 0x20 || (c >= 0x7F && c <= 0x9F);
}

bool isMark(char32_t c) {
    const QChar::Category category = QChar::category(c);
    return category == QChar::Mark_NonSpacing || category == QChar::Mark_Enclosing;
}

// Format characters that are visible signs of their own (number and
// concatenation marks written before Arabic, Syriac and Kaithi numbers).
bool isVisibleFormat(char32_t c) {
    return (c >= 0x0600 && c <= 0x0605) || c == 0x06DD || c == 0x070F || c == 0x0890 ||
           c == 0x0891 || c == 0x08E2 || c == 0x110BD || c == 0x110CD;
}

// Scripts in which a joiner or non-joiner changes how letters are drawn.
bool joinersShape(QChar::Script script) {
    switch (script) {
    case QChar::Script_Arabic:
    case QChar::Script_Syriac:
    case QChar::Script_Nko:
    case QChar::Script_Mongolian:
    case QChar::Script_Devanagari:
    case QChar::Script_Bengali:
    case QChar::Script_Gurmukhi:
    case QChar::Script_Gujarati:
    case QChar::Script_Oriya:
    case QChar::Script_Tamil:
    case QChar::Script_Telugu:
    case QChar::Script_Kannada:
    case QChar::Script_Malayalam:
    case QChar::Script_Sinhala:
        return true;
    default:
        return false;
    }
}

bool isEmojiPart(char32_t c) {
    return QChar::category(c) == QChar::Symbol_Other || (c >= 0x1F3FB && c <= 0x1F3FF);
}

// A joiner is kept only where it visibly shapes its neighbours: between two
// letters of a joining script, or (ZWJ) between two emoji.
bool joinerShapes(char32_t joiner, char32_t base, char32_t next) {
    if (joiner == zeroWidthJoiner && isEmojiPart(base) && isEmojiPart(next))
        return true;
    const QChar::Script script = QChar::script(base);
    return joinersShape(script) && QChar::isLetter(next) && QChar::script(next) == script;
}

bool needsIsolation(const QString& text) {
    for (const uint c : text.toUcs4()) {
        switch (QChar::direction(char32_t(c))) {
        case QChar::DirR:
        case QChar::DirAL:
        case QChar::DirAN:
            return true;
        default:
            break;
        }
    }
    return false;
}

QString cleaned(const QString& text, Lines lines) {
    const QList<uint> codePoints = text.toUcs4();
    QString out;
    out.reserve(text.size() + 2);
    const auto append = [&out](char32_t c) { out.append(QChar::fromUcs4(c)); };
    char32_t base = 0; // the last character that is no mark
    int marks = 0;
    bool inTagSequence = false;
    for (qsizetype i = 0; i < codePoints.size(); ++i) {
        const char32_t c = codePoints.at(i);
        const char32_t next = i + 1 < codePoints.size() ? codePoints.at(i + 1) : 0;
        if (isMark(c)) {
            if (++marks <= maxMarksInARun)
                append(c);
            continue;
        }
        marks = 0;
        const char32_t previous = base;
        base = c;
        if (isLineBreak(c)) {
            // CR LF is one break.
            if (c == u'\r' && next == u'\n')
                continue;
            if (lines == Lines::keep)
                append(u'\n');
            else if (lines == Lines::space && !out.endsWith(QLatin1Char(' ')))
                append(u' ');
            else if (lines == Lines::placeholder)
                append(placeholder);
            continue;
        }
        if (c == u'\t') {
            append(u' ');
            continue;
        }
        if (isControl(c)) {
            append(placeholder);
            continue;
        }
        if (c >= 0xE0020 && c <= cancelTag) {
            // The tags that spell a subdivision flag after the black flag.
            const bool keep = inTagSequence || previous == blackFlag;
            inTagSequence = keep && c != cancelTag;
            append(keep ? c : placeholder);
            continue;
        }
        inTagSequence = false;
        if (QChar::category(c) != QChar::Other_Format || isVisibleFormat(c)) {
            append(c);
            continue;
        }
        if ((c == zeroWidthJoiner || c == zeroWidthNonJoiner) && joinerShapes(c, previous, next)) {
            append(c);
            base = previous; // the joiner sits between two letters
            continue;
        }
        append(placeholder);
    }
    return out;
}

QString bounded(const QString& text, qsizetype length) {
    const QString kept = leftGraphemes(text, length);
    return kept.size() == text.size() ? text : kept + QChar(0x2026);
}

QString isolated(const QString& text) {
    if (!needsIsolation(text))
        return text;
    return QChar(firstStrongIsolate) + text + QChar(popDirectionalIsolate);
}

} // namespace

QString safeName(const QString& text) {
    return isolated(bounded(cleaned(text, Lines::placeholder), safeNameLength));
}

QString safePreview(const QString& text, qsizetype length) {
    // A message that starts or ends with a line break shows no margin.
    return isolated(bounded(cleaned(text, Lines::space).trimmed(), length));
}

QString safeLine(const QString& text) {
    return isolated(cleaned(text, Lines::space));
}

QString safeBody(const QString& text) {
    return cleaned(text, Lines::keep);
}

} // namespace Text
