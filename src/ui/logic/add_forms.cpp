#include "logic/add_forms.h"

#include "controller/mesh_controller.h"

namespace ViewLogic {

QString trimmedField(const QString& text) {
    return MeshController::trimmedBlanks(text);
}

FieldCounter hexCounter(const QString& typed, int required) {
    const qsizetype length = MeshController::cleanedHex(typed).size();
    const QByteArray key =
        required == 64 ? QByteArrayLiteral("%lld/64") : QByteArrayLiteral("%lld/32");
    return {qtTrId(key.constData()).arg(length), length != 0 && length != required};
}

FieldCounter nameCounter(const QString& typed) {
    const qsizetype bytes = trimmedField(typed).toUtf8().size();
    return {qtTrId("%lld/32").arg(bytes), bytes > nameByteLimit};
}

bool nameFits(const QString& name) {
    return trimmedField(name).toUtf8().size() <= nameByteLimit;
}

bool canAddContact(const QString& name, const QString& publicKey, bool isWorking) {
    return !isWorking && !trimmedField(name).isEmpty() && nameFits(name) &&
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
        return !trimmedField(name).isEmpty() && nameFits(name);
    case AddChannelMode::joinPrivate:
        return !trimmedField(name).isEmpty() && nameFits(name) &&
               MeshController::cleanedHex(secret).size() == 32;
    case AddChannelMode::joinHashtag:
        return !trimmedField(hashtag).isEmpty() &&
               nameFits(MeshController::hashtagChannelName(hashtag));
    }
    return false;
}

} // namespace ViewLogic
