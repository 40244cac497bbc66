#include "transport/bluez_agent.h"

#include "transport/bluez_types.h"
#include "transport/link_log.h"
#include "transport/pairing_prompt.h"

#include <QDBusPendingCallWatcher>

namespace {

const QString rejected = QStringLiteral("org.bluez.Error.Rejected");
const QString canceled = QStringLiteral("org.bluez.Error.Canceled");

QDBusMessage agentManagerCall(const QString& method, const QList<QVariant>& arguments) {
    QDBusMessage call = QDBusMessage::createMethodCall(Bluez::service, QStringLiteral("/org/bluez"),
                                                       Bluez::agentManagerInterface, method);
    call.setArguments(arguments);
    return call;
}

} // namespace

BluezAgent::BluezAgent(PairingPrompt* prompt, QObject* parent)
    : QObject(parent)
    , m_bus(QDBusConnection::systemBus())
    , m_prompt(prompt) {}

BluezAgent::~BluezAgent() {
    if (m_registered)
        m_bus.asyncCall(agentManagerCall(QStringLiteral("UnregisterAgent"),
                                         {QVariant::fromValue(QDBusObjectPath(objectPath))}));
    if (m_exported)
        m_bus.unregisterObject(objectPath);
}

void BluezAgent::expect(const QString& devicePath, const QString& radioName) {
    m_devicePath = devicePath;
    m_radioName = radioName;
    if (devicePath.isEmpty() && m_prompt)
        m_prompt->withdraw();
}

void BluezAgent::registerAgent(std::function<void(bool registered)> done) {
    if (m_registered) {
        if (done)
            QMetaObject::invokeMethod(
                this, [done] { done(true); }, Qt::QueuedConnection);
        return;
    }
    if (done)
        m_waiting.append(std::move(done));
    if (m_registering)
        return;
    if (!m_exported)
        m_exported = m_bus.registerObject(objectPath, this, QDBusConnection::ExportAllSlots);
    m_registering = true;
    const QDBusMessage call = agentManagerCall(
        QStringLiteral("RegisterAgent"),
        {QVariant::fromValue(QDBusObjectPath(objectPath)), QStringLiteral("KeyboardDisplay")});
    auto* watcher = new QDBusPendingCallWatcher(m_bus.asyncCall(call), this);
    connect(watcher, &QDBusPendingCallWatcher::finished, this,
            [this](QDBusPendingCallWatcher* call) {
                call->deleteLater();
                m_registering = false;
                const QDBusMessage reply = call->reply();
                // Already there (from an earlier run of this connection) counts.
                m_registered = reply.type() == QDBusMessage::ReplyMessage ||
                               reply.errorName() == QLatin1String("org.bluez.Error.AlreadyExists");
                m_refused = !m_registered;
                qCDebug(lcLink) << "pairing agent registered:" << m_registered << reply.errorName()
                                << reply.errorMessage();
                for (const auto& waiting : std::exchange(m_waiting, {}))
                    waiting(m_registered);
            });
}

void BluezAgent::unregisterAgent() {
    if (!m_registered)
        return;
    m_registered = false;
    qCDebug(lcLink) << "pairing agent unregistered";
    m_bus.asyncCall(agentManagerCall(QStringLiteral("UnregisterAgent"),
                                     {QVariant::fromValue(QDBusObjectPath(objectPath))}));
}

bool BluezAgent::forUs(const QDBusObjectPath& device) const {
    return !m_devicePath.isEmpty() && device.path() == m_devicePath && m_prompt;
}

void BluezAgent::refuse(const QDBusMessage& message, const QString& error) {
    const bool cancelled = error == canceled;
    m_bus.send(message.createErrorReply(
        error.isEmpty() ? rejected : error,
        cancelled ? QStringLiteral("Cancelled by the user")
                  : QStringLiteral("Refused by the user, or not a radio Talvenne connects to")));
}

void BluezAgent::Release() {
    qCDebug(lcLink) << "BlueZ released the pairing agent";
    m_registered = false;
    if (m_prompt)
        m_prompt->withdraw();
}

QString BluezAgent::RequestPinCode(const QDBusObjectPath& device, const QDBusMessage& message) {
    message.setDelayedReply(true);
    if (!forUs(device)) {
        refuse(message);
        return {};
    }
    m_prompt->ask(PairingPrompt::Kind::enterPasskey, m_radioName, 0,
                  [this, message](const PairingPrompt::Answer& answer) {
                      if (!answer.accepted) {
                          refuse(message, canceled);
                          return;
                      }
                      m_bus.send(message.createReply(QString::number(answer.passkey)));
                  });
    return {};
}

void BluezAgent::DisplayPinCode(const QDBusObjectPath& device, const QString& pinCode) {
    if (forUs(device))
        m_prompt->ask(PairingPrompt::Kind::showPasskey, m_radioName, pinCode.toUInt(), {});
}

uint BluezAgent::RequestPasskey(const QDBusObjectPath& device, const QDBusMessage& message) {
    message.setDelayedReply(true);
    if (!forUs(device)) {
        refuse(message);
        return 0;
    }
    m_prompt->ask(PairingPrompt::Kind::enterPasskey, m_radioName, 0,
                  [this, message](const PairingPrompt::Answer& answer) {
                      if (!answer.accepted) {
                          refuse(message, canceled);
                          return;
                      }
                      m_bus.send(message.createReply(QVariant::fromValue(uint(answer.passkey))));
                  });
    return 0;
}

void BluezAgent::DisplayPasskey(const QDBusObjectPath& device, uint passkey, ushort entered) {
    // Called again with each digit typed on the radio; one question is enough.
    if (forUs(device) && (m_prompt->kind() != PairingPrompt::Kind::showPasskey || entered == 0))
        m_prompt->ask(PairingPrompt::Kind::showPasskey, m_radioName, passkey, {});
}

void BluezAgent::RequestConfirmation(const QDBusObjectPath& device, uint passkey,
                                     const QDBusMessage& message) {
    message.setDelayedReply(true);
    if (!forUs(device)) {
        refuse(message);
        return;
    }
    m_prompt->ask(PairingPrompt::Kind::confirmPasskey, m_radioName, passkey,
                  [this, message](const PairingPrompt::Answer& answer) {
                      if (answer.accepted)
                          m_bus.send(message.createReply());
                      else
                          refuse(message);
                  });
}

// Pairing without a passkey, with the radio the user chose: nothing to ask.
void BluezAgent::RequestAuthorization(const QDBusObjectPath& device, const QDBusMessage& message) {
    message.setDelayedReply(true);
    if (forUs(device))
        m_bus.send(message.createReply());
    else
        refuse(message);
}

void BluezAgent::AuthorizeService(const QDBusObjectPath& device, const QString&,
                                  const QDBusMessage& message) {
    message.setDelayedReply(true);
    if (forUs(device))
        m_bus.send(message.createReply());
    else
        refuse(message);
}

void BluezAgent::Cancel() {
    qCDebug(lcLink) << "BlueZ cancelled its question";
    if (m_prompt)
        m_prompt->withdraw();
}
