#pragma once

#include <QString>

namespace Text {

// Number of user-perceived characters (grapheme clusters) in a text.
qsizetype graphemeCount(const QString& text);

// The first `count` user-perceived characters of a text.
QString leftGraphemes(const QString& text, qsizetype count);

} // namespace Text
