#include "text/text_segments.h"

#include <QRegularExpression>
#include <QTextBoundaryFinder>
#include <optional>

namespace Text {

namespace {

// Positions are QString indices, but every match must cover whole
// user-perceived characters: an "@" carrying a combining accent is not an "@".
class Graphemes {
public:
    explicit Graphemes(const QString& text)
        : m_text(text)
        , m_finder(QTextBoundaryFinder::Grapheme, text) {}

    bool isBoundary(qsizetype position) {
        if (position <= 0 || position >= m_text.size())
            return true;
        m_finder.setPosition(position);
        return m_finder.isAtBoundary();
    }

    qsizetype next(qsizetype position) {
        m_finder.setPosition(position);
        const qsizetype end = m_finder.toNextBoundary();
        return end < 0 ? m_text.size() : end;
    }

    // First occurrence of `needle` at or after `from` whose characters are
    // each a whole grapheme; -1 when there is none.
    qsizetype find(QStringView needle, qsizetype from) {
        for (qsizetype at = m_text.indexOf(needle, from); at >= 0;
             at = m_text.indexOf(needle, at + 1)) {
            bool whole = true;
            for (qsizetype i = 0; i <= needle.size() && whole; ++i)
                whole = isBoundary(at + i);
            if (whole)
                return at;
        }
        return -1;
    }

private:
    const QString& m_text;
    QTextBoundaryFinder m_finder;
};

bool endsBareMention(QStringView character) {
    if (character.isEmpty() || character.front().isSpace())
        return true;
    if (character.size() != 1)
        return false;
    const QChar c = character.front();
    return c == u',' || c == u'.' || c == u'!' || c == u'?';
}

enum class Found { bracketMention, url, bareAt };

} // namespace

QList<TextSegment> segments(const QString& text) {
    // Lower-case scheme only; a link runs greedily to the next whitespace,
    // trailing punctuation included.
    static const QRegularExpression urlPattern(QStringLiteral("https?://[^\\s]+"),
                                               QRegularExpression::UseUnicodePropertiesOption);

    QList<TextSegment> result;
    Graphemes graphemes(text);
    qsizetype rest = 0; // the still unsegmented text is text.mid(rest)

    while (rest < text.size()) {
        const qsizetype bracket = graphemes.find(u"@[", rest);
        const QRegularExpressionMatch urlMatch = urlPattern.match(text, rest);
        const qsizetype url = urlMatch.hasMatch() ? urlMatch.capturedStart() : -1;
        const qsizetype at = graphemes.find(u"@", rest);

        // Candidates in priority order; an "@" that opens a bracket mention
        // is never also a bare one.
        std::optional<Found> chosen;
        qsizetype start = -1;
        const auto consider = [&](Found kind, qsizetype position) {
            if (position >= 0 && (!chosen || position < start)) {
                chosen = kind;
                start = position;
            }
        };
        consider(Found::bracketMention, bracket);
        consider(Found::url, url);
        if (at >= 0 && (bracket < 0 || at < bracket))
            consider(Found::bareAt, at);

        if (!chosen) {
            result.append(TextSegment::plain(text.mid(rest)));
            break;
        }
        if (start > rest)
            result.append(TextSegment::plain(text.mid(rest, start - rest)));

        switch (*chosen) {
        case Found::bracketMention: {
            const qsizetype nameStart = start + 2;
            const qsizetype close = graphemes.find(u"]", nameStart);
            if (close < 0) {
                result.append(TextSegment::plain(text.mid(start)));
                return result;
            }
            result.append(
                TextSegment::mention(QLatin1Char('@') + text.mid(nameStart, close - nameStart)));
            rest = close + 1;
            break;
        }
        case Found::url: {
            const QString matched = urlMatch.captured();
            result.append(TextSegment::link(matched, matched));
            rest = urlMatch.capturedEnd();
            break;
        }
        case Found::bareAt: {
            const qsizetype nameStart = start + 1;
            qsizetype end = nameStart;
            while (end < text.size()) {
                const qsizetype next = graphemes.next(end);
                if (endsBareMention(QStringView(text).sliced(end, next - end)))
                    break;
                end = next;
            }
            if (end == nameStart) {
                result.append(TextSegment::plain(QStringLiteral("@")));
                rest = nameStart;
            } else {
                result.append(TextSegment::mention(text.mid(start, end - start)));
                rest = end; // the terminator stays in the text
            }
            break;
        }
        }
    }
    return result;
}

QString withMentionsAsShown(const QString& text) {
    if (!text.contains(QLatin1String("@[")))
        return text;
    QString shown;
    shown.reserve(text.size());
    for (const TextSegment& segment : segments(text))
        shown += segment.text;
    return shown;
}

} // namespace Text
