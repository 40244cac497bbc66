#pragma once

#include "model/conversation.h"

#include <QString>
#include <optional>

// The conversation a key names: "contact:<key>" or "channel:<index>"; none
// for any other text. The inverse of ConversationID::conversationKey().
std::optional<ConversationID> conversationIDFromKey(const QString& key);
