#pragma once

#include <QString>

class QWindow;
class QQmlApplicationEngine;
class NotificationManager;

// Shows, raises and activates the window. A non-empty token (an xdg-activation
// token, handed over by the notification server or a second instance) is what
// lets a Wayland compositor bring the window forward instead of only flashing
// it in the task bar.
void bringForward(QWindow* window, const QString& activationToken);

// A click on a conversation's notification brings the main window forward and
// opens that conversation.
void openConversationsFromNotifications(NotificationManager& notifications,
                                        QQmlApplicationEngine& engine);
