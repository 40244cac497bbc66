#pragma once

#include <QString>

namespace Text {

// Text from the mesh made safe to show. Anyone on the mesh picks the names
// and texts that arrive, so before a label shows them, and before they leave
// the app (notifications, the window's title, the clipboard):
// - control characters (C0, DEL, C1) and invisible format characters (bidi
//   overrides and isolates, zero-width spaces, byte-order marks, ...) become
//   the visible U+FFFD, so that a name cannot pass for another or reorder
//   what follows it. Joiners stay where they shape something visible (inside
//   Arabic or Indic words, between emoji), as do tag sequences of flag emoji;
// - a run of combining marks keeps at most four, so that a pile of them
//   cannot paint over neighbouring rows;
// - text that holds right-to-left letters is wrapped in FSI ... PDI, so
//   that it lays out in its own direction without moving its surroundings
//   and without turning a left-to-right row around. Other text needs no
//   wrapping and is returned as it is.
// Labels still show the result as plain text: markup stays literal.
// Stored data and key comparisons always use the text as received.

// One line: a name. Line breaks become the placeholder; at most
// `safeNameLength` user-perceived characters, then "…".
inline constexpr qsizetype safeNameLength = 64;
QString safeName(const QString& text);

// One line: a message shown as a preview. Line breaks and runs of them
// become one space; at most `length` characters, then "…".
inline constexpr qsizetype safePreviewLength = 160;
QString safePreview(const QString& text, qsizetype length = safePreviewLength);

// One line of any length: a message as a line of a saved file. Line breaks
// and runs of them become one space, tabs a space; nothing is cut.
QString safeLine(const QString& text);

// A whole message body: line breaks stay (CR LF and the Unicode line and
// paragraph separators become one line feed), nothing is cut, and it is not
// isolated (a bubble is its own paragraph and takes the text's direction).
QString safeBody(const QString& text);

} // namespace Text
