#include "window_activation.h"

#include "notifications/notification_manager.h"

#include <QQmlApplicationEngine>
#include <QVariant>
#include <QWindow>

void bringForward(QWindow* window, const QString& activationToken) {
    if (!window)
        return;
    // Qt's Wayland platform reads the token from here on the next activation
    // request and clears it; other platforms ignore it.
    if (!activationToken.isEmpty())
        qputenv("XDG_ACTIVATION_TOKEN", activationToken.toUtf8());
    if (window->windowState() & Qt::WindowMinimized)
        window->setWindowStates(window->windowStates() & ~Qt::WindowMinimized);
    window->show();
    window->raise();
    window->requestActivate();
}

void openConversationsFromNotifications(NotificationManager& notifications,
                                        QQmlApplicationEngine& engine) {
    QObject::connect(&notifications, &NotificationManager::activated, &engine,
                     [&engine](const QString& conversationKey, const QString& token) {
                         auto* window = qobject_cast<QWindow*>(engine.rootObjects().value(0));
                         if (!window)
                             return;
                         bringForward(window, token);
                         QMetaObject::invokeMethod(window, "openConversation",
                                                   Q_ARG(QVariant, conversationKey));
                     });
}
