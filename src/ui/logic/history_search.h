#pragma once

#include <QByteArray>
#include <QByteArrayView>
#include <QHash>
#include <QList>
#include <QLocale>
#include <QString>
#include <QStringView>
#include <optional>

namespace ViewLogic {

// Text as the history search compares it: case folded in the locale (so a
// Turkish "I" finds "ı"), accents and other combining marks dropped ("Café"
// -> "cafe", "Å" -> "a"), compatibility forms unfolded ("ﬁ" -> "fi").
// `origin`, when given, receives for each folded code unit the index of the
// code unit of `text` it came from, so a match maps back to the text.
QString foldForSearch(QStringView text, const QLocale& locale = QLocale(),
                      QList<qsizetype>* origin = nullptr);

// Folds UTF-8 text as foldForSearch() does, into UTF-8, remembering how each
// character beyond ASCII folds: quick enough to fold every message of a long
// history once per query, so that the search keeps no folded copy of it.
class SearchFolder {
public:
    explicit SearchFolder(const QLocale& locale = QLocale());
    // Appends the folded form of `utf8` (valid UTF-8) to `out`.
    void fold(QByteArrayView utf8, QByteArray& out);

private:
    QLocale m_locale;
    bool m_dotlessI = false;
    QHash<char32_t, QByteArray> m_folded;
};

// Where a folded query matches a text, in the text's own code units.
struct SearchMatch {
    qsizetype start = 0;
    qsizetype length = 0;
    bool operator==(const SearchMatch&) const = default;
};
// The first match of an already folded, non-empty query; none without one.
std::optional<SearchMatch> findFolded(QStringView text, const QString& foldedQuery,
                                      const QLocale& locale = QLocale());

// A result line: the matching part of the text with a little of what
// surrounds it, on one line. `before` starts with "…" when the text goes on
// further back, `after` ends with it when it goes on further.
struct SearchExcerpt {
    QString before;
    QString match;
    QString after;
    bool operator==(const SearchExcerpt&) const = default;
};
inline constexpr qsizetype excerptContextBefore = 32;
inline constexpr qsizetype excerptContextAfter = 96;
SearchExcerpt searchExcerpt(const QString& text, SearchMatch match);

} // namespace ViewLogic
