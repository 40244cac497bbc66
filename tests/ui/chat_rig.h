#pragma once

#include "controller/conversation_store.h"
#include "controller/mesh_controller.h"
#include "sim/simulated_radio.h"
#include "time/clock.h"

#include <QFile>
#include <QSettings>
#include <QTemporaryDir>
#include <QUuid>
#include <chrono>
#include <memory>

// A controller over the simulated radio on virtual time, with throw-away
// history and settings files: what the chat views are tested against.
struct ChatRig {
    QTemporaryDir dir;
    ManualClock clock;
    SimulatedRadio radio{&clock, 11};
    std::unique_ptr<ConversationStore> store;
    std::unique_ptr<QSettings> settings;
    std::unique_ptr<MeshController> controller;

    // `history` is written to the history file before the controller loads it.
    explicit ChatRig(const QList<Conversation>& history = {}) {
        const QString historyPath = dir.filePath(QStringLiteral("history.json"));
        if (!history.isEmpty()) {
            QFile file(historyPath);
            if (file.open(QIODevice::WriteOnly))
                file.write(encodeConversations(history));
        }
        store = std::make_unique<ConversationStore>(historyPath);
        settings = std::make_unique<QSettings>(dir.filePath(QStringLiteral("settings.ini")),
                                               QSettings::IniFormat);
        controller =
            std::make_unique<MeshController>(&radio, &clock, nullptr, store.get(), settings.get());
        clock.settle();
    }
    ~ChatRig() { controller.reset(); }

    // Scans, connects and lets the handshake finish.
    bool connect() {
        using namespace std::chrono_literals;
        controller->startScan();
        clock.advance(500ms);
        if (controller->discoveredDevices().isEmpty())
            return false;
        controller->connectToDevice(controller->discoveredDevices().first());
        clock.advance(1s);
        clock.advance(20s);
        return controller->transportState() == TransportState::connected &&
               !controller->isSyncing();
    }
};

inline Contact chatContact(const QString& key, const QString& name,
                           MeshProtocol::AdvertType type = MeshProtocol::AdvertType::chat,
                           std::int8_t outPathLength = 1) {
    Contact contact;
    contact.publicKey = key;
    contact.name = name;
    contact.type = type;
    contact.outPathLength = outPathLength;
    for (int hop = 0; hop < outPathLength; ++hop)
        contact.outPath.append(char(0x20 + hop));
    contact.lastAdvert = QDateTime::fromSecsSinceEpoch(1'699'990'000, Qt::UTC);
    contact.lastModified = contact.lastAdvert;
    return contact;
}

inline ChatMessage
chatMessage(ChatMessage::Direction direction, const QString& text, const QDateTime& time,
            ChatMessage::DeliveryState state = ChatMessage::DeliveryState::delivered) {
    ChatMessage message;
    message.id = QUuid::createUuid();
    message.direction = direction;
    message.text = text;
    message.timestamp = time;
    message.deliveryState = state;
    return message;
}
