#pragma once

#include "sim_rig.h"

#include <QFile>
#include <QSettings>
#include <QTemporaryDir>
#include <QUuid>
#include <chrono>
#include <memory>

// What the chat views are tested against: a controller over the simulated
// radio, optionally with a history already on disk.
struct ChatRig : SimRig {
    explicit ChatRig(const QList<Conversation>& history = {})
        : SimRig(11, history) {}
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
