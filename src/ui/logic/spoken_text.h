#pragma once

#include "controller/notification_levels.h"
#include "model/conversation.h"

#include <QString>

// What a screen reader announces for a list row or a message: the texts a
// sighted user reads on it, in reading order, joined by commas.
namespace ViewLogic {

// "★ Favourite, Aino Virtanen, See you there, 5m, 2 unread, 1 mentions you,
// Mentions only"; empty parts are left out, and so is the level All.
QString conversationRowSpoken(const QString& title, const QString& subtitle,
                              const QString& timeText, qint64 unread, bool isFavorite,
                              qint64 unreadMentions = 0,
                              NotificationLevel level = NotificationLevel::all);

// The name of a notification level as menus show it.
QString notificationLevelText(NotificationLevel level);

// "Ridge Repeater, Repeater, Flood routing, Has a position".
QString nodeRowSpoken(const QString& title, const QString& typeName, int outPathLength,
                      bool hasPosition, bool isFavorite);

// "Alice: hi there, 10:42" for an incoming message (sender only when one was
// split off a channel text), "You: on my way, 10:43, Delivered" for an
// outgoing one.
QString messageSpoken(const QString& sender, const QString& body, const QString& timeText,
                      bool outgoing, ChatMessage::DeliveryState state);

} // namespace ViewLogic
