#pragma once

#include "controller/conversation_store.h"
#include "controller/mesh_controller.h"
#include "recording_notifier.h"
#include "test_support.h"
#include "time/clock.h"
#include "transport/bluetooth_transport.h"
#include "transport/qt_ble_adapter.h"

#include <QDBusConnection>
#include <QDBusMessage>
#include <QFile>
#include <QProcess>
#include <QSettings>
#include <QTemporaryDir>
#include <QTest>
#include <memory>
#include <signal.h>
#include <sys/prctl.h>

// Child processes of a test end with it, also when it is killed (a ctest
// timeout), instead of lingering with their sockets.
inline void endWithParent(QProcess& process) {
    process.setChildProcessModifier([] { prctl(PR_SET_PDEATHSIG, SIGTERM); });
}

// A D-Bus daemon of this test program's own, with a configuration that lets
// anyone own any name; QtBluetooth in this process finds it as the system
// bus. Must be started before anything touches the system bus.
class PrivateBus {
public:
    bool start() {
        if (!m_dir.isValid())
            return false;
        const QString config = m_dir.filePath(QStringLiteral("bus.conf"));
        QFile file(config);
        if (!file.open(QIODevice::WriteOnly))
            return false;
        file.write(QStringLiteral(
                       "<!DOCTYPE busconfig PUBLIC \"-//freedesktop//DTD D-BUS Bus Configuration "
                       "1.0//EN\" \"http://www.freedesktop.org/standards/dbus/1.0/"
                       "busconfig.dtd\">\n"
                       "<busconfig>\n"
                       "  <type>system</type>\n"
                       "  <listen>unix:dir=%1</listen>\n"
                       "  <auth>EXTERNAL</auth>\n"
                       "  <policy context=\"default\">\n"
                       "    <allow user=\"*\"/>\n"
                       "    <allow own=\"*\"/>\n"
                       "    <allow send_destination=\"*\" eavesdrop=\"true\"/>\n"
                       "    <allow eavesdrop=\"true\"/>\n"
                       "  </policy>\n"
                       "</busconfig>\n")
                       .arg(m_dir.path())
                       .toUtf8());
        file.close();
        endWithParent(m_daemon);
        m_daemon.start(QStringLiteral(DBUS_DAEMON_PATH),
                       {QStringLiteral("--config-file=") + config, QStringLiteral("--nofork"),
                        QStringLiteral("--nopidfile"), QStringLiteral("--print-address=1")});
        if (!m_daemon.waitForStarted(5000))
            return false;
        while (!m_daemon.canReadLine()) {
            if (!m_daemon.waitForReadyRead(5000))
                return false;
        }
        address = QString::fromUtf8(m_daemon.readLine().trimmed());
        // The stand-in answers --version as well; this spares Qt the probe.
        qputenv("BLUETOOTH_FORCE_DBUS_LE_VERSION", "5.66");
        qputenv("DBUS_SYSTEM_BUS_ADDRESS", address.toUtf8());
        return !address.isEmpty();
    }
    ~PrivateBus() {
        m_daemon.terminate();
        if (!m_daemon.waitForFinished(3000))
            m_daemon.kill();
        m_daemon.waitForFinished(1000);
    }

    QString address;

private:
    QTemporaryDir m_dir;
    QProcess m_daemon;
};

// The stand-in BlueZ as a program of its own (QtBluetooth makes blocking
// D-Bus calls, which a stand-in on the same thread could not answer), and
// the test's remote control of it.
class StandInBluez {
public:
    static inline const QString radioA = QStringLiteral("C0:FF:EE:00:00:0A");
    static inline const QString radioAName = QStringLiteral("Talvenne Radio A");

    ~StandInBluez() { stop(); }

    bool start(const QStringList& options = {}) {
        m_process.setProcessChannelMode(QProcess::ForwardedErrorChannel);
        endWithParent(m_process);
        m_process.start(QStringLiteral(FAKE_BLUEZ_PATH), options);
        if (!m_process.waitForStarted(5000))
            return false;
        while (!m_process.canReadLine()) {
            if (!m_process.waitForReadyRead(10000))
                return false;
        }
        return m_process.readLine().trimmed() == "ready";
    }
    void stop() {
        if (m_process.state() == QProcess::NotRunning)
            return;
        m_process.terminate();
        if (!m_process.waitForFinished(3000))
            m_process.kill();
        m_process.waitForFinished(1000);
    }

    // Calls one method of the control interface and returns its answer.
    template <typename... Args>
    QVariant call(const char* method, Args... args) {
        QDBusMessage message = QDBusMessage::createMethodCall(
            QStringLiteral("org.talvenne.FakeBluez"), QStringLiteral("/control"),
            QStringLiteral("org.talvenne.FakeBluez"), QLatin1String(method));
        message.setArguments({QVariant::fromValue(args)...});
        const QDBusMessage reply = QDBusConnection::systemBus().call(message, QDBus::Block, 5000);
        if (reply.type() == QDBusMessage::ErrorMessage)
            qWarning() << "stand-in control" << method << reply.errorMessage();
        return reply.arguments().value(0);
    }

private:
    QProcess m_process;
};

// The application's composition over the stand-in: the real adapter and
// link, the controller on a manual clock (its timeouts and the link's own
// move only when the test says so; QtBluetooth's timers are real), and a
// throw-away history file.
struct LinkRig {
    QTemporaryDir dir;
    ManualClock clock;
    RecordingNotifier notifier;
    std::unique_ptr<QtBleAdapter> adapter = std::make_unique<QtBleAdapter>();
    std::unique_ptr<BluetoothTransport> link =
        std::make_unique<BluetoothTransport>(adapter.get(), &clock);
    std::unique_ptr<ConversationStore> store =
        std::make_unique<ConversationStore>(dir.filePath(QStringLiteral("history.json")));
    std::unique_ptr<QSettings> settings = std::make_unique<QSettings>(
        dir.filePath(QStringLiteral("settings.ini")), QSettings::IniFormat);
    std::unique_ptr<MeshController> controller = std::make_unique<MeshController>(
        link.get(), &clock, &notifier, store.get(), settings.get());

    ~LinkRig() {
        controller.reset();
        link.reset();
        adapter.reset();
        // Let deleteLater() of Qt's objects run while the bus is still there.
        QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
    }

    TransportState state() const { return controller->transportState(); }

    std::optional<DiscoveredDevice> device(const QString& name) const {
        for (const DiscoveredDevice& found : controller->discoveredDevices()) {
            if (found.name == name)
                return found;
        }
        return std::nullopt;
    }
};
