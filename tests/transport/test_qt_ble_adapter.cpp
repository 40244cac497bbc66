#include "transport/qt_ble_adapter.h"

#include <QBluetoothAddress>
#include <QSignalSpy>
#include <QTest>

using ErrorKind = BleAdapter::ErrorKind;

// The real adapter's own decisions; how it meets BlueZ, with and without a
// service or an adapter, is for test_e2e_link.
class TestQtBleAdapter : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void connectingToAnUnknownHandleFailsLater() {
        QtBleAdapter adapter;
        // Without Bluetooth here; a power loss would drop reports on their way.
        QSignalSpy power(&adapter, &BleAdapter::powerStateChanged);
        QVERIFY(power.wait(2000));
        QSignalSpy failed(&adapter, &BleAdapter::failedToConnect);
        adapter.connectToPeripheral(QVariant());
        QCOMPARE(failed.count(), 0); // never from inside the call
        QVERIFY(failed.wait(2000));
        QCOMPARE(failed.first().first().value<std::optional<BleAdapter::Error>>()->text,
                 QtBleAdapter::unknownRadioText);
    }

    void radioIdIsStableAndPerAddress() {
        const QBluetoothDeviceInfo a(QBluetoothAddress(QStringLiteral("C0:FF:EE:00:00:01")),
                                     QStringLiteral("Talvenne"), 0);
        const QBluetoothDeviceInfo aAgain(QBluetoothAddress(QStringLiteral("C0:FF:EE:00:00:01")),
                                          QStringLiteral("Renamed"), 0);
        const QBluetoothDeviceInfo b(QBluetoothAddress(QStringLiteral("C0:FF:EE:00:00:02")),
                                     QStringLiteral("Talvenne"), 0);
        QVERIFY(!QtBleAdapter::stableId(a).isNull());
        QCOMPARE(QtBleAdapter::stableId(aAgain), QtBleAdapter::stableId(a));
        QVERIFY(QtBleAdapter::stableId(b) != QtBleAdapter::stableId(a));
    }

    // BlueZ's error names decide what the link does next: retry, pair, or
    // tell the user why (and, before the link is up, in words of its own).
    void bluezErrorMapping_data() {
        using Call = QtBleAdapter::Call;
        QTest::addColumn<Call>("call");
        QTest::addColumn<QString>("name");
        QTest::addColumn<QString>("text");
        QTest::addColumn<bool>("agentRegistered");
        QTest::addColumn<ErrorKind>("kind");
        const auto row = [](const char* tag, Call call, const char* name, const char* text,
                            bool agent, ErrorKind kind) {
            QTest::newRow(tag) << call << QString::fromLatin1(name) << QString::fromLatin1(text)
                               << agent << kind;
        };
        row("connect aborted", Call::connect, "org.bluez.Error.Failed",
            "le-connection-abort-by-local", true, ErrorKind::connectionFailed);
        row("connect not ready", Call::connect, "org.bluez.Error.NotReady", "Resource Not Ready",
            true, ErrorKind::connectionFailed);
        row("connect, bond refused", Call::connect, "org.bluez.Error.AuthenticationFailed",
            "Authentication Failed", true, ErrorKind::peerRemovedPairingInformation);
        row("gatt not permitted", Call::gatt, "org.bluez.Error.NotPermitted", "Not paired", true,
            ErrorKind::pairingRequired);
        row("gatt not authorized", Call::gatt, "org.bluez.Error.NotAuthorized", "Not Authorized",
            true, ErrorKind::pairingRequired);
        row("gatt failed, not paired", Call::gatt, "org.bluez.Error.Failed", "Not paired", true,
            ErrorKind::pairingRequired);
        row("gatt stale bond", Call::gatt, "org.bluez.Error.AuthenticationFailed",
            "Authentication Failed", true, ErrorKind::pairingRequired);
        row("gatt insufficient encryption", Call::gatt, "org.bluez.Error.Failed",
            "Operation failed with ATT error: Insufficient Encryption", true,
            ErrorKind::pairingRequired);
        row("gatt insufficient resources", Call::gatt, "org.bluez.Error.Failed",
            "Insufficient Resources", true, ErrorKind::other);
        row("gatt long write refused", Call::gatt, "org.bluez.Error.Failed",
            "Operation failed with ATT error: 0x06", true, ErrorKind::other);
        row("wrong PIN", Call::pair, "org.bluez.Error.AuthenticationFailed",
            "Authentication Failed", true, ErrorKind::pairingRefused);
        row("no agent to ask", Call::pair, "org.bluez.Error.AuthenticationFailed",
            "Authentication Failed", false, ErrorKind::pairingImpossible);
        row("confirmation refused", Call::pair, "org.bluez.Error.AuthenticationRejected",
            "Authentication Rejected", true, ErrorKind::pairingRefused);
        row("cancelled", Call::pair, "org.bluez.Error.AuthenticationCanceled",
            "Authentication Canceled", true, ErrorKind::pairingCancelled);
        row("timed out", Call::pair, "org.bluez.Error.AuthenticationTimeout",
            "Authentication Timeout", true, ErrorKind::pairingCancelled);
        row("already paired", Call::pair, "org.bluez.Error.AlreadyExists", "Already Exists", true,
            ErrorKind::staleBond);
    }
    void bluezErrorMapping() {
        QFETCH(QtBleAdapter::Call, call);
        QFETCH(QString, name);
        QFETCH(QString, text);
        QFETCH(bool, agentRegistered);
        QFETCH(ErrorKind, kind);
        const auto mapped = QtBleAdapter::mapBluezError(call, name, text, agentRegistered);
        QCOMPARE(mapped.kind, kind);
        const bool ownWords =
            call == QtBleAdapter::Call::connect && kind == ErrorKind::connectionFailed;
        QCOMPARE(mapped.text, ownWords ? QtBleAdapter::connectFailedText : text);
    }
};

QTEST_GUILESS_MAIN(TestQtBleAdapter)
#include "test_qt_ble_adapter.moc"
