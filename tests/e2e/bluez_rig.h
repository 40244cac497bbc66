#pragma once

#include "controller/conversation_store.h"
#include "controller/mesh_controller.h"
#include "private_bus.h"
#include "recording_notifier.h"
#include "test_support.h"
#include "time/clock.h"
#include "transport/bluetooth_transport.h"
#include "transport/pairing_prompt.h"
#include "transport/qt_ble_adapter.h"

#include <QDBusConnection>
#include <QDBusMessage>
#include <QSettings>
#include <QTemporaryDir>
#include <QTest>
#include <functional>
#include <memory>

// A private bus that QtBluetooth in this process finds as the system bus.
// Must be started before anything touches the system bus.
inline bool startAsSystemBus(PrivateBus& bus) {
    const QString address = bus.start(QStringLiteral("system"));
    // The stand-in answers --version as well; this spares Qt the probe.
    qputenv("BLUETOOTH_FORCE_DBUS_LE_VERSION", "5.66");
    qputenv("DBUS_SYSTEM_BUS_ADDRESS", address.toUtf8());
    return !address.isEmpty();
}

// The stand-in BlueZ as a program of its own (QtBluetooth makes blocking
// D-Bus calls, which a stand-in on the same thread could not answer), and
// the test's remote control of it.
class StandInBluez {
public:
    static inline const QString radioA = QStringLiteral("C0:FF:EE:00:00:0A");
    static inline const QString radioAName = QStringLiteral("Talvenne Radio A");
    // Further radios some tests add.
    static inline const QString radioB = QStringLiteral("C0:FF:EE:00:00:0B");
    static inline const QString radioC = QStringLiteral("C0:FF:EE:00:00:0C");
    static inline const QString radioD = QStringLiteral("C0:FF:EE:00:00:0D");

    ~StandInBluez() { stop(); }

    // Starts the stand-in with radio A in range.
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
        if (m_process.readLine().trimmed() != "ready")
            return false;
        call("AddRadio", radioA, radioAName, -58);
        return true;
    }
    void stop() {
        if (m_process.state() == QProcess::NotRunning)
            return;
        m_process.terminate();
        if (!m_process.waitForFinished(3000))
            m_process.kill();
        m_process.waitForFinished(1000);
    }

    // Sets fields of a stand-in radio ("pin", "paired", "mtu", ...).
    void configure(const QString& address, const QVariantMap& fields) {
        call("Configure", address, fields);
    }
    // The application's calls on the devices, for the radio's address
    // ("Connect", "Disconnect", ...), in order.
    QStringList deviceCalls(const QString& address) {
        QStringList calls;
        for (const QString& entry : call("CallLog").toStringList()) {
            if (entry.endsWith(QLatin1Char(' ') + address))
                calls.append(entry.section(QLatin1Char(' '), 0, 0));
        }
        return calls;
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
    PairingPrompt* prompt() const { return adapter->pairingPrompt(); }

    // The listed radio with this address.
    std::optional<DiscoveredDevice> radio(const QString& address) const {
        for (const DiscoveredDevice& found : controller->discoveredDevices()) {
            if (found.address == address)
                return found;
        }
        return std::nullopt;
    }
    std::optional<DiscoveredDevice> radioA() const { return radio(StandInBluez::radioA); }

    // Connected, with the handshake over.
    bool inSync() const {
        return state() == TransportState::connected && !controller->isSyncing() &&
               controller->selfInfo().has_value();
    }
    // Waits for `done` while time on the rig's clock moves at a few times
    // the real pace, for the link's and the controller's short waits.
    bool waitMoving(const std::function<bool()>& done, int millis = 10000) {
        return QTest::qWaitFor(
            [&] {
                clock.advance(std::chrono::milliseconds(40));
                return done();
            },
            millis);
    }

    // Scans until radio A is listed.
    bool findRadioA() {
        controller->startScan();
        return QTest::qWaitFor([this] { return radioA().has_value(); }, 5000);
    }

    // Once Bluetooth is ready, scans for radio A and asks to connect to it.
    bool chooseRadioA() {
        if (!QTest::qWaitFor([this] { return state() == TransportState::ready; }, 5000) ||
            !findRadioA())
            return false;
        controller->connectToDevice(*radioA());
        return true;
    }

    // Scans, connects to radio A and waits for the handshake to end.
    bool connectRadioA() {
        if (!findRadioA())
            return false;
        controller->connectToDevice(*radioA());
        return QTest::qWaitFor([this] { return inSync(); }, 10000);
    }
};
