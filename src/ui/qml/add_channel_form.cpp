#include "add_channel_form.h"

#include "controller/mesh_controller.h"

#include <QClipboard>
#include <QGuiApplication>

using ViewLogic::AddChannelMode;

namespace {
constexpr AddChannelMode modes[] = {AddChannelMode::createPrivate, AddChannelMode::joinPrivate,
                                    AddChannelMode::joinPublic, AddChannelMode::joinHashtag};
}

AddChannelForm::AddChannelForm(QObject* parent)
    : QObject(parent) {}

void AddChannelForm::setMode(int mode) {
    if (mode < 0 || mode >= int(std::size(modes)) || modes[mode] == m_mode)
        return;
    m_mode = modes[mode];
    m_errorMessage.clear();
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

bool AddChannelForm::canSubmit() const {
    return m_controller &&
           ViewLogic::canAddChannel(m_mode, m_name, m_secret, m_hashtag, m_isWorking);
}

void AddChannelForm::submit() {
    if (!canSubmit())
        return;
    m_isWorking = true;
    m_errorMessage.clear();
    Q_EMIT changed();
    run(m_mode, ViewLogic::trimmedField(m_name), MeshController::cleanedHex(m_secret),
        ViewLogic::trimmedField(m_hashtag));
}

QCoro::Task<void> AddChannelForm::run(AddChannelMode mode, QString name, QString secret,
                                      QString hashtag) {
    // The sheet may be closed while the radio works; the guard notices.
    QPointer<AddChannelForm> self(this);
    QPointer<MeshController> controller = m_controller;
    try {
        switch (mode) {
        case AddChannelMode::createPrivate: {
            const QString created = co_await controller->createPrivateChannel(name);
            if (self) {
                self->m_createdSecret = created;
                self->m_isWorking = false;
                Q_EMIT self->changed();
            }
            co_return;
        }
        case AddChannelMode::joinPrivate:
            co_await controller->joinPrivateChannel(name, secret);
            break;
        case AddChannelMode::joinPublic:
            co_await controller->joinPublicChannel(name);
            break;
        case AddChannelMode::joinHashtag:
            co_await controller->joinHashtagChannel(hashtag);
            break;
        }
        if (self)
            Q_EMIT self->finished();
    } catch (const MeshError& error) {
        if (!self)
            co_return;
        self->m_errorMessage = error.description();
        self->m_isWorking = false;
        Q_EMIT self->changed();
    }
}

void AddChannelForm::copySecret() const {
    if (m_createdSecret.isEmpty())
        return;
    QClipboard* clipboard = QGuiApplication::clipboard();
    clipboard->clear();
    clipboard->setText(m_createdSecret);
}
