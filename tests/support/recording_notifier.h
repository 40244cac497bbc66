#pragma once

#include "notifications/notifier.h"

#include <QList>
#include <QString>
#include <QStringList>
#include <cstdint>

// Keeps every notification and badge count instead of showing them.
class RecordingNotifier final : public Notifier {
public:
    struct Posted {
        QString title;
        QString body;
        QString thread;
    };
    void postNotification(const QString& title, const QString& body,
                          const QString& threadIdentifier) override {
        posted.append({title, body, threadIdentifier});
    }
    void withdrawNotifications(const QString& threadIdentifier) override {
        withdrawn << threadIdentifier;
    }
    void updateBadge(std::int64_t count) override { badges << count; }

    QList<Posted> posted;
    QStringList withdrawn;
    QList<std::int64_t> badges;
};
