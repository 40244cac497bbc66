#include "history_search.h"

#include <QTextBoundaryFinder>

namespace ViewLogic {

namespace {

// Folds one code point (its code units at `index` in the text) onto `out`.
void foldCodePoint(char32_t codePoint, qsizetype index, const QLocale& locale, bool dotlessI,
                   QString& out, QList<qsizetype>* origin) {
    const auto put = [&](QChar c) {
        out.append(c);
        if (origin)
            origin->append(index);
    };
    // Most text is ASCII: folded without a detour.
    if (codePoint < 0x80 && !(dotlessI && codePoint == 'I')) {
        put(QChar(char16_t(codePoint >= 'A' && codePoint <= 'Z' ? codePoint + 32 : codePoint)));
        return;
    }
    // Full case folding of the sharp s, which Qt folds to itself.
    if (codePoint == 0x00DF || codePoint == 0x1E9E) {
        put(QLatin1Char('s'));
        put(QLatin1Char('s'));
        return;
    }
    const QString decomposed =
        QString::fromUcs4(&codePoint, 1).normalized(QString::NormalizationForm_KD);
    QString kept;
    for (const QChar c : decomposed) {
        const QChar::Category category = c.category();
        if (category == QChar::Mark_NonSpacing || category == QChar::Mark_Enclosing)
            continue;
        kept.append(c);
    }
    // Lower-cased in the locale first (dotless and dotted i), then folded.
    for (const QChar c : locale.toLower(kept).toCaseFolded())
        put(c);
}

} // namespace

// Turkish and Azerbaijani lower "I" to a dotless "ı".
bool lowersToDotlessI(const QLocale& locale) {
    return locale.language() == QLocale::Turkish || locale.language() == QLocale::Azerbaijani;
}

QString foldForSearch(QStringView text, const QLocale& locale, QList<qsizetype>* origin) {
    QString out;
    out.reserve(text.size());
    if (origin) {
        origin->clear();
        origin->reserve(text.size());
    }
    const bool dotlessI = lowersToDotlessI(locale);
    for (qsizetype i = 0; i < text.size();) {
        const QChar c = text[i];
        char32_t codePoint = c.unicode();
        qsizetype units = 1;
        if (c.isHighSurrogate() && i + 1 < text.size() && text[i + 1].isLowSurrogate()) {
            codePoint = QChar::surrogateToUcs4(c, text[i + 1]);
            units = 2;
        }
        foldCodePoint(codePoint, i, locale, dotlessI, out, origin);
        i += units;
    }
    return out;
}

SearchFolder::SearchFolder(const QLocale& locale)
    : m_locale(locale)
    , m_dotlessI(lowersToDotlessI(locale)) {}

void SearchFolder::fold(QByteArrayView utf8, QByteArray& out) {
    const auto* p = reinterpret_cast<const unsigned char*>(utf8.data());
    const auto* const end = p + utf8.size();
    while (p != end) {
        // A run of ASCII, lowered in place.
        const auto* run = p;
        while (p != end && *p < 0x80 && !(m_dotlessI && *p == 'I'))
            ++p;
        if (p != run) {
            const qsizetype at = out.size();
            out.resize(at + (p - run));
            char* to = out.data() + at;
            for (; run != p; ++run)
                *to++ = char(*run >= 'A' && *run <= 'Z' ? *run + 32 : *run);
            if (p == end)
                break;
        }
        // One character beyond ASCII (or a Turkish "I").
        char32_t codePoint = *p;
        int length = 1;
        if (*p >= 0xf0) {
            codePoint = *p & 0x07;
            length = 4;
        } else if (*p >= 0xe0) {
            codePoint = *p & 0x0f;
            length = 3;
        } else if (*p >= 0xc0) {
            codePoint = *p & 0x1f;
            length = 2;
        }
        if (end - p < length)
            return; // cut short: not valid UTF-8
        for (int i = 1; i < length; ++i)
            codePoint = codePoint << 6 | (p[i] & 0x3f);
        p += length;
        auto folded = m_folded.constFind(codePoint);
        if (folded == m_folded.cend()) {
            QString piece;
            foldCodePoint(codePoint, 0, m_locale, m_dotlessI, piece, nullptr);
            folded = m_folded.insert(codePoint, piece.toUtf8());
        }
        out.append(*folded);
    }
}

std::optional<SearchMatch> findFolded(QStringView text, const QString& foldedQuery,
                                      const QLocale& locale) {
    if (foldedQuery.isEmpty())
        return std::nullopt;
    QList<qsizetype> origin;
    const QString folded = foldForSearch(text, locale, &origin);
    const qsizetype at = folded.indexOf(foldedQuery);
    if (at < 0)
        return std::nullopt;
    const qsizetype start = origin.at(at);
    // The match ends after the last code point it touches, with the marks
    // that follow it ("e" matches all of "é" written as e + accent).
    qsizetype end = origin.at(at + foldedQuery.size() - 1) + 1;
    if (end < text.size() && QChar(text[end - 1]).isHighSurrogate())
        ++end;
    while (end < text.size()) {
        const QChar::Category category = QChar(text[end]).category();
        if (category != QChar::Mark_NonSpacing && category != QChar::Mark_Enclosing &&
            category != QChar::Mark_SpacingCombining)
            break;
        ++end;
    }
    return SearchMatch{start, end - start};
}

SearchExcerpt searchExcerpt(const QString& text, SearchMatch match) {
    const auto oneLine = [](QString part) {
        for (QChar& c : part) {
            if (c == QLatin1Char('\n') || c == QLatin1Char('\r') || c == QChar(0x2028) ||
                c == QChar(0x2029))
                c = QLatin1Char(' ');
        }
        return part;
    };
    // Cuts fall on grapheme boundaries, so no letter loses its accent.
    QTextBoundaryFinder graphemes(QTextBoundaryFinder::Grapheme, text);
    const auto boundaryAtOrBefore = [&](qsizetype position) {
        graphemes.setPosition(position);
        return graphemes.isAtBoundary() ? position : graphemes.toPreviousBoundary();
    };
    const auto boundaryAtOrAfter = [&](qsizetype position) {
        graphemes.setPosition(position);
        return graphemes.isAtBoundary() ? position : graphemes.toNextBoundary();
    };
    const qsizetype matchEnd = match.start + match.length;
    qsizetype from = std::max<qsizetype>(0, match.start - excerptContextBefore);
    from = from == 0 ? 0 : boundaryAtOrAfter(from);
    qsizetype to = std::min<qsizetype>(text.size(), matchEnd + excerptContextAfter);
    to = to == text.size() ? to : boundaryAtOrBefore(to);

    SearchExcerpt excerpt;
    excerpt.before = oneLine(text.mid(from, match.start - from));
    excerpt.match = oneLine(text.mid(match.start, match.length));
    excerpt.after = oneLine(text.mid(matchEnd, to - matchEnd));
    if (from > 0)
        excerpt.before.prepend(QChar(0x2026));
    if (to < text.size())
        excerpt.after.append(QChar(0x2026));
    return excerpt;
}

} // namespace ViewLogic
