#pragma once

#include <QString>

// What a desktop notification shows of a message. Its title and body come
// from anyone on the mesh and leave the app here, so they get the treatment
// of the window's labels (text/safe_text.h): no direction overrides or
// invisible characters, right-to-left text isolated. Further rules for what
// a notification says belong here too.
namespace NotificationText {

// A body is cut to this many user-perceived characters, then "…": a long
// word must not fill the screen.
inline constexpr qsizetype bodyLength = 120;

// The conversation's title on one line, as the sidebar names it.
QString title(const QString& conversationTitle);

// The message on one line, its mentions as the bubble shows them ("@Name"),
// at most `bodyLength` characters.
QString body(const QString& messageText);

} // namespace NotificationText
