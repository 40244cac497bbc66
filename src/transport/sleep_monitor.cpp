#include "transport/sleep_monitor.h"

#include "transport/link_log.h"

#include <QDBusMessage>
#include <QDBusPendingCallWatcher>
#include <QDBusPendingReply>

namespace {

const QString login1 = QStringLiteral("org.freedesktop.login1");
const QString login1Path = QStringLiteral("/org/freedesktop/login1");
const QString managerInterface = QStringLiteral("org.freedesktop.login1.Manager");

} // namespace

SleepMonitor::SleepMonitor(QObject* parent)
    : QObject(parent)
    , m_bus(QDBusConnection::systemBus()) {
    m_deadline.setSingleShot(true);
    m_deadline.setInterval(longestDelay);
    connect(&m_deadline, &QTimer::timeout, this, &SleepMonitor::readyToSleep);
    if (!m_bus.isConnected())
        return;
    m_bus.connect(login1, login1Path, managerInterface, QStringLiteral("PrepareForSleep"), this,
                  SLOT(onPrepareForSleep(bool)));
    takeInhibitor();
}

void SleepMonitor::takeInhibitor() {
    if (m_inhibitor.isValid())
        return;
    QDBusMessage call = QDBusMessage::createMethodCall(login1, login1Path, managerInterface,
                                                       QStringLiteral("Inhibit"));
    call << QStringLiteral("sleep") << QStringLiteral("Talvenne")
         << QStringLiteral("Ending the connection to the radio cleanly") << QStringLiteral("delay");
    auto* watcher = new QDBusPendingCallWatcher(m_bus.asyncCall(call), this);
    connect(watcher, &QDBusPendingCallWatcher::finished, this,
            [this](QDBusPendingCallWatcher* call) {
                call->deleteLater();
                const QDBusPendingReply<QDBusUnixFileDescriptor> reply = *call;
                if (reply.isError()) {
                    qCDebug(lcLink) << "no sleep inhibitor:" << reply.error().message();
                    return;
                }
                m_inhibitor = reply.value();
            });
}

void SleepMonitor::readyToSleep() {
    m_deadline.stop();
    if (!m_inhibitor.isValid())
        return;
    qCDebug(lcLink) << "sleep may go ahead";
    // Closing our copy of the descriptor is what releases it.
    m_inhibitor = QDBusUnixFileDescriptor();
}

void SleepMonitor::onPrepareForSleep(bool start) {
    qCDebug(lcLink) << (start ? "the computer is going to sleep" : "the computer woke");
    if (start)
        m_deadline.start();
    else
        takeInhibitor();
    Q_EMIT sleepChanged(start);
}
