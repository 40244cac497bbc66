#pragma once

#include "controller/conversation_store.h"
#include "controller/mesh_controller.h"
#include "recording_notifier.h"
#include "sim/simulated_radio.h"
#include "test_support.h"
#include "time/clock.h"

#include <QFile>
#include <QSettings>
#include <QTemporaryDir>
#include <QTest>
#include <chrono>
#include <memory>

// A controller talking to the simulated radio, on virtual time: real frames
// both ways, with the radio's knobs for lost answers, errors and link drops,
// and throw-away history and settings files. `history` is written to the
// history file before the controller loads it.
//
// Declare a test's outcomes before its rig: destroying the controller ends
// every operation still waiting, and those write their outcome then.
struct SimRig {
    QTemporaryDir dir;
    ManualClock clock;
    SimulatedRadio radio;
    RecordingNotifier notifier;
    std::unique_ptr<ConversationStore> store;
    std::unique_ptr<QSettings> settings;
    std::unique_ptr<MeshController> controller;

    explicit SimRig(quint32 seed = 5, const QList<Conversation>& history = {})
        : radio(&clock, seed) {
        const QString historyPath = dir.filePath(QStringLiteral("history.json"));
        if (!history.isEmpty()) {
            QFile file(historyPath);
            if (file.open(QIODevice::WriteOnly))
                file.write(encodeConversations(history));
        }
        store = std::make_unique<ConversationStore>(historyPath);
        settings = std::make_unique<QSettings>(dir.filePath(QStringLiteral("settings.ini")),
                                               QSettings::IniFormat);
        controller = std::make_unique<MeshController>(&radio, &clock, &notifier, store.get(),
                                                      settings.get());
        clock.settle();
    }
    ~SimRig() { controller.reset(); }

    // Scans, connects and lets the handshake finish; the frames it wrote are
    // forgotten, so a test sees only its own.
    bool connect() {
        using namespace std::chrono_literals;
        controller->startScan();
        clock.advance(500ms);
        if (controller->discoveredDevices().isEmpty())
            return false;
        controller->connectToDevice(controller->discoveredDevices().first());
        clock.advance(1s);
        clock.advance(20s);
        radio.clearWrittenFrames();
        return controller->transportState() == TransportState::connected &&
               !controller->isSyncing();
    }

    std::optional<Contact> contactNamed(const QString& name) const {
        for (const Contact& contact : controller->contacts()) {
            if (contact.name == name)
                return contact;
        }
        return std::nullopt;
    }

    // The command codes the radio received, in order.
    QList<int> writtenCodes() const {
        QList<int> codes;
        for (const QByteArray& frame : radio.writtenFrames())
            codes << std::uint8_t(frame.at(0));
        return codes;
    }

    // What the disk holds (file and journal), read by a second store that
    // stays read-only beside `store`.
    std::optional<QList<Conversation>> savedHistory() {
        store->flush();
        if (!QFile::exists(store->filePath()))
            return std::nullopt;
        return ConversationStore(store->filePath()).load();
    }
};

inline ChatMessage incomingMessage(const QString& text, const QDateTime& at) {
    ChatMessage message;
    message.id = QUuid::createUuid();
    message.direction = ChatMessage::Direction::incoming;
    message.text = text;
    message.timestamp = at;
    return message;
}

// The description of the error an outcome ended with; empty for success.
template <typename Outcome>
QString errorTextOf(const Outcome& outcome) {
    if (!outcome.error)
        return {};
    try {
        std::rethrow_exception(outcome.error);
    } catch (const MeshError& error) {
        return error.description();
    } catch (...) {
        return QStringLiteral("<not a MeshError>");
    }
}
