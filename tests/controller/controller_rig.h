#pragma once

#include "controller/conversation_store.h"
#include "controller/mesh_controller.h"
#include "fake_link.h"
#include "time/clock.h"

#include <QDir>
#include <QFile>
#include <QSettings>
#include <QTemporaryDir>
#include <QTest>
#include <memory>

// Everything a controller needs, on virtual time and throw-away files.
struct ControllerRig {
    QTemporaryDir dir;
    ManualClock clock;
    FakeLink link;
    RecordingNotifier notifier;
    std::unique_ptr<ConversationStore> store;
    std::unique_ptr<QSettings> settings;
    std::unique_ptr<MeshController> controller;

    explicit ControllerRig(bool build = true) {
        store = std::make_unique<ConversationStore>(historyPath());
        settings = std::make_unique<QSettings>(dir.filePath(QStringLiteral("settings.ini")),
                                               QSettings::IniFormat);
        if (build)
            buildController();
    }
    ~ControllerRig() { controller.reset(); }

    void buildController() {
        controller =
            std::make_unique<MeshController>(&link, &clock, &notifier, store.get(), settings.get());
    }
    QString historyPath() const { return dir.filePath(QStringLiteral("conversations.json")); }
    // What the disk holds (file and journal) once every save so far has been
    // written; read by a second store, which stays read-only beside `store`.
    std::optional<QList<Conversation>> savedHistory() {
        store->flush();
        if (!QFile::exists(historyPath()))
            return std::nullopt;
        return ConversationStore(historyPath()).load();
    }
    // Connected without the handshake, for tests of single operations.
    void connectQuietly() { link.setState(TransportState::connected); }
    void deliver(const MeshEvent& event) { controller->handleEvent(event); }
};

inline QString keyOf(char digit) {
    return QString(64, QLatin1Char(digit));
}

inline Contact makeContact(const QString& key, const QString& name, qint64 lastAdvert = 0,
                           std::int8_t outPathLength = -1) {
    Contact c;
    c.publicKey = key;
    c.name = name;
    c.lastAdvert = QDateTime::fromSecsSinceEpoch(lastAdvert, Qt::UTC);
    c.lastModified = c.lastAdvert;
    c.outPathLength = outPathLength;
    return c;
}

// The error a finished coroutine ended with, or none.
template <typename Outcome>
std::optional<MeshError> meshErrorOf(const Outcome& outcome) {
    if (!outcome.error)
        return std::nullopt;
    try {
        std::rethrow_exception(outcome.error);
    } catch (const MeshError& error) {
        return error;
    } catch (...) {
        return std::nullopt;
    }
}
