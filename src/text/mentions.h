#pragma once

#include "text/text_segments.h"

#include <QString>

namespace Text {

// A name as it compares ignoring case. Qt's own case-insensitive comparison
// folds one character to one character, so "Straße" and "STRASSE" would
// differ. Upper-casing applies the one-to-many special cases (ß -> SS,
// ﬁ -> FI); folding before and after brings both sides to one lower form,
// which is Unicode's full case folding for all practical names.
QString foldedName(const QString& name);

// Whether a mention segment names `foldedOwnName` (as foldedName gives it):
// "@Name" and "@[Name]" both name "Name". An empty name is nobody's.
bool isMentionOf(const TextSegment& segment, const QString& foldedOwnName);

// Whether a message text mentions `ownName`, ignoring case. A text without
// an "@" is answered without being segmented.
bool mentionsName(const QString& text, const QString& ownName);

} // namespace Text
