#include "conversation_key.h"

std::optional<ConversationID> conversationIDFromKey(const QString& key) {
    return ConversationID::fromKey(key);
}
