#pragma once

#include "model/conversation.h"

#include <QString>

namespace ViewLogic {

// A conversation as plain text for File > Save Conversation As…: one line
// per message, oldest first, its fields apart by tabs:
//   2026-11-25 08:01:33 <TAB> sender <TAB> text <TAB> delivery state
// Dates are the local time. The sender is "You" for the user's messages,
// the name a channel text begins with (else empty) in a channel, and
// `title` in a direct chat. Texts are written as received and never
// interpreted (no mentions, links or markup), but as they leave the app:
// one line each, no direction overrides or invisible characters.
QString conversationText(const Conversation& conversation, const QString& title);

// A file name for the conversation's title: characters that file systems
// refuse or that would make a path become "_", ".txt" added.
QString conversationFileName(const QString& title);

} // namespace ViewLogic
