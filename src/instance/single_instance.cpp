#include "instance/single_instance.h"

#include "model/application_id.h"

#include <QDBusConnectionInterface>
#include <QDBusMessage>

namespace {

constexpr int answerTimeoutMillis = 5000;

// What the desktop handed this launch to let the running window take the
// focus (Wayland's activation token, X11's startup id).
QVariantMap platformData() {
    QVariantMap data;
    if (const QString token = qEnvironmentVariable("XDG_ACTIVATION_TOKEN"); !token.isEmpty())
        data.insert(QStringLiteral("activation-token"), token);
    if (const QString id = qEnvironmentVariable("DESKTOP_STARTUP_ID"); !id.isEmpty())
        data.insert(QStringLiteral("desktop-startup-id"), id);
    return data;
}

} // namespace

SingleInstance::SingleInstance(QDBusConnection bus, QObject* parent)
    : QObject(parent)
    , m_bus(std::move(bus)) {}

QString SingleInstance::objectPath() {
    return QLatin1Char('/') + applicationId().replace(QLatin1Char('.'), QLatin1Char('/'));
}

SingleInstance::Role SingleInstance::claim() {
    if (!m_bus.isConnected() || !m_bus.interface())
        return Role::alone;
    const bool served =
        m_bus.registerObject(objectPath(), this, QDBusConnection::ExportScriptableSlots);
    const auto reply = m_bus.interface()->registerService(
        applicationId(), QDBusConnectionInterface::DontQueueService,
        QDBusConnectionInterface::DontAllowReplacement);
    if (served && reply.isValid() && reply.value() == QDBusConnectionInterface::ServiceRegistered)
        return Role::primary;
    if (served)
        m_bus.unregisterObject(objectPath());

    QDBusMessage call = QDBusMessage::createMethodCall(
        applicationId(), objectPath(), QStringLiteral("org.freedesktop.Application"),
        QStringLiteral("Activate"));
    call << platformData();
    const QDBusMessage answer = m_bus.call(call, QDBus::Block, answerTimeoutMillis);
    return answer.type() == QDBusMessage::ReplyMessage ? Role::handedOver : Role::alone;
}

void SingleInstance::Activate(const QVariantMap& platformData) {
    // The desktop's activation token or startup id is not used yet: the
    // window asks for the focus as it is.
    Q_UNUSED(platformData);
    Q_EMIT activationRequested();
}
