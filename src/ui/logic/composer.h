#pragma once

#include "ui/logic/tint.h"

#include <QString>

namespace ViewLogic {

// A message holds at most 139 user-perceived characters, in direct and
// channel conversations alike.
inline constexpr int composerLimit = 139;
inline constexpr const char* composerLimitKey = "chat.composer.limit";
inline constexpr const char* composerPlaceholderKey = "chat.composer.placeholder";

// The draft as the field keeps it: a draft of 140 characters or more is cut
// to its first 139; shorter drafts come back unchanged.
QString limitDraft(const QString& draft);

// The counter below the field, "n/139".
QString composerCounterText(const QString& draft);
// Secondary while more than 20 characters remain, orange for 1 to 20, red at none.
Tint composerCounterTint(const QString& draft);
// The field's border turns red from 139 characters on.
bool composerAtLimit(const QString& draft);

// A draft can be sent when, trimmed of whitespace and line breaks, it is not
// empty and shorter than 140 characters, and the radio is connected.
bool canSend(const QString& draft, bool connected);

} // namespace ViewLogic
