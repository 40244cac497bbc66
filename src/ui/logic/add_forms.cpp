#include "logic/add_forms.h"

#include "controller/mesh_controller.h"

namespace ViewLogic {

QString trimmedField(const QString& text) {
    return MeshController::trimmedBlanks(text);
}

HexCounter hexCounter(const QString& typed, int required) {
    const qsizetype length = MeshController::cleanedHex(typed).size();
    const QByteArray key =
        required == 64 ? QByteArrayLiteral("%lld/64") : QByteArrayLiteral("%lld/32");
    return {qtTrId(key.constData()).arg(length), length != 0 && length != required};
}

bool canAddContact(const QString& name, const QString& publicKey, bool isWorking) {
    return !isWorking && !trimmedField(name).isEmpty() &&
           MeshController::cleanedHex(publicKey).size() == 64;
}

QString channelModeValue(AddChannelMode mode) {
    switch (mode) {
    case AddChannelMode::createPrivate:
        return QStringLiteral("Create Private");
    case AddChannelMode::joinPrivate:
        return QStringLiteral("Join Private");
    case AddChannelMode::joinPublic:
        return QStringLiteral("Join Public");
    case AddChannelMode::joinHashtag:
        return QStringLiteral("Join Hashtag");
    }
    return {};
}

QByteArray channelModeTitleKey(AddChannelMode mode) {
    switch (mode) {
    case AddChannelMode::createPrivate:
        return "add.channel.mode.create.private";
    case AddChannelMode::joinPrivate:
        return "add.channel.mode.join.private";
    case AddChannelMode::joinPublic:
        return "add.channel.mode.join.public";
    case AddChannelMode::joinHashtag:
        return "add.channel.mode.join.hashtag";
    }
    return {};
}

QByteArray channelModeButtonKey(AddChannelMode mode) {
    return mode == AddChannelMode::createPrivate ? "add.channel.button.create"
                                                 : "add.channel.button.join";
}

QByteArray channelModeMessageKey(AddChannelMode mode) {
    switch (mode) {
    case AddChannelMode::createPrivate:
        return "add.channel.create.message";
    case AddChannelMode::joinPrivate:
        return {};
    case AddChannelMode::joinPublic:
        return "add.channel.join.public.message";
    case AddChannelMode::joinHashtag:
        return "add.channel.join.hashtag.message";
    }
    return {};
}

bool canAddChannel(AddChannelMode mode, const QString& name, const QString& secret,
                   const QString& hashtag, bool isWorking) {
    if (isWorking)
        return false;
    switch (mode) {
    case AddChannelMode::createPrivate:
    case AddChannelMode::joinPublic:
        return !trimmedField(name).isEmpty();
    case AddChannelMode::joinPrivate:
        return !trimmedField(name).isEmpty() && MeshController::cleanedHex(secret).size() == 32;
    case AddChannelMode::joinHashtag:
        return !trimmedField(hashtag).isEmpty();
    }
    return false;
}

} // namespace ViewLogic
