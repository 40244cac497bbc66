#include "add_channel_form.h"

#include "controller/mesh_controller.h"
#include "logic/safe_text.h"
#include "protocol/mesh_protocol.h"

#include <QClipboard>
#include <QGuiApplication>

using ViewLogic::AddChannelMode;

namespace {
constexpr AddChannelMode modes[] = {AddChannelMode::createPrivate, AddChannelMode::joinPrivate,
                                    AddChannelMode::joinPublic, AddChannelMode::joinHashtag};
}

void AddChannelForm::setMode(int mode) {
    if (mode < 0 || mode >= int(std::size(modes)) || modes[mode] == m_mode)
        return;
    m_mode = modes[mode];
    clearError();
    m_createdSecret.clear();
    Q_EMIT changed();
}

QStringList AddChannelForm::modeTitles() const {
    QStringList titles;
    for (AddChannelMode mode : modes)
        titles << qtTrId(ViewLogic::channelModeTitleKey(mode).constData());
    return titles;
}

QString AddChannelForm::buttonText() const {
    return qtTrId(ViewLogic::channelModeButtonKey(m_mode).constData());
}

QString AddChannelForm::explanation() const {
    const QByteArray key = ViewLogic::channelModeMessageKey(m_mode);
    return key.isEmpty() ? QString() : qtTrId(key.constData());
}

QString AddChannelForm::secretCounterText() const {
    return ViewLogic::hexCounter(m_secret, 32).text;
}

bool AddChannelForm::secretCounterIsError() const {
    return ViewLogic::hexCounter(m_secret, 32).isError;
}

QString AddChannelForm::typedName() const {
    return m_mode == AddChannelMode::joinHashtag ? MeshController::hashtagChannelName(m_hashtag)
                                                 : m_name;
}

QString AddChannelForm::nameCounterText() const {
    return ViewLogic::nameCounter(typedName()).text;
}

bool AddChannelForm::nameCounterIsError() const {
    return ViewLogic::nameCounter(typedName()).isError;
}

bool AddChannelForm::canAdd() const {
    return ViewLogic::canAddChannel(m_mode, m_name, m_secret, m_hashtag, false);
}

// A channel is the one joined already when its secret is the same: messages
// of both would be one and the same, whatever the names.
std::optional<AddForm::Existing> AddChannelForm::existing() const {
    if (!controller() || m_createdSecret.size() > 0)
        return std::nullopt;
    std::optional<QByteArray> secret;
    switch (m_mode) {
    case AddChannelMode::createPrivate:
        return std::nullopt;
    case AddChannelMode::joinPrivate: {
        const QString digits = MeshController::cleanedHex(m_secret);
        if (digits.size() == 2 * MeshController::channelSecretLength)
            secret = MeshProtocol::bytesFromHex(digits);
        break;
    }
    case AddChannelMode::joinPublic:
        secret =
            MeshProtocol::bytesFromHex(QString::fromLatin1(MeshController::publicChannelSecretHex));
        break;
    case AddChannelMode::joinHashtag:
        if (!ViewLogic::trimmedField(m_hashtag).isEmpty())
            secret = MeshController::hashtagChannelSecret(typedName());
        break;
    }
    if (!secret)
        return std::nullopt;
    for (const Channel& channel : controller()->channels()) {
        if (MeshProtocol::bytesFromHex(channel.secretHex) == secret)
            return Existing{
                ConversationID::channel(channel.index),
                qtTrId("add.channel.exists").arg(ViewLogic::safeName(channel.displayName()))};
    }
    return std::nullopt;
}

QCoro::Task<QString> AddChannelForm::perform(MeshController* controller) {
    const QString name = ViewLogic::trimmedField(m_name);
    switch (m_mode) {
    case AddChannelMode::createPrivate:
        co_return co_await controller->createPrivateChannel(name);
    case AddChannelMode::joinPrivate:
        co_await controller->joinPrivateChannel(name, MeshController::cleanedHex(m_secret));
        break;
    case AddChannelMode::joinPublic:
        co_await controller->joinPublicChannel(name);
        break;
    case AddChannelMode::joinHashtag:
        co_await controller->joinHashtagChannel(ViewLogic::trimmedField(m_hashtag));
        break;
    }
    co_return QString();
}

void AddChannelForm::copySecret() const {
    if (m_createdSecret.isEmpty())
        return;
    QClipboard* clipboard = QGuiApplication::clipboard();
    clipboard->clear();
    clipboard->setText(m_createdSecret);
}
