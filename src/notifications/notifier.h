#pragma once

#include <QObject>
#include <QString>
#include <cstdint>

// What the controller needs of desktop notifications: post one message
// notification, grouped by conversation, take a conversation's notifications
// back once it has been read, and show the unread count.
class Notifier : public QObject {
    Q_OBJECT
public:
    using QObject::QObject;

    virtual void postNotification(const QString& title, const QString& body,
                                  const QString& threadIdentifier) = 0;
    virtual void withdrawNotifications(const QString& threadIdentifier) = 0;
    // 0 or less hides the count.
    virtual void updateBadge(std::int64_t count) = 0;
};
