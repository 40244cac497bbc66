#include "notifications/notification_text.h"

#include "text/safe_text.h"
#include "text/text_segments.h"

namespace NotificationText {

QString title(const QString& conversationTitle) {
    return Text::safeName(conversationTitle);
}

QString body(const QString& messageText) {
    return Text::safePreview(Text::withMentionsAsShown(messageText), bodyLength);
}

} // namespace NotificationText
