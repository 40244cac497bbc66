#include "time/clock.h"
#include "transport/bluetooth_transport.h"
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
        ManualClock clock;
        QtBleAdapter adapter;
        BluetoothTransport link(&adapter, &clock);
        QSignalSpy failed(&link, &MeshLink::transportFailed);
        DiscoveredDevice nothing;
        nothing.id = QUuid::createUuid();
        link.connectToDevice(nothing);
        QCOMPARE(failed.count(), 0); // never from inside the call
        QVERIFY(failed.wait(2000));
        QCOMPARE(link.state(), TransportState::disconnected);
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

    void controllerErrorMapping_data() {
        QTest::addColumn<QLowEnergyController::Error>("error");
        QTest::addColumn<bool>("linkUp");
        QTest::addColumn<ErrorKind>("kind");
        QTest::newRow("connection error")
            << QLowEnergyController::ConnectionError << false << ErrorKind::connectionFailed;
        QTest::newRow("closed while connecting")
            << QLowEnergyController::RemoteHostClosedError << false << ErrorKind::connectionFailed;
        QTest::newRow("closed once connected")
            << QLowEnergyController::RemoteHostClosedError << true << ErrorKind::other;
        QTest::newRow("authorization") << QLowEnergyController::AuthorizationError << false
                                       << ErrorKind::peerRemovedPairingInformation;
        QTest::newRow("unknown device")
            << QLowEnergyController::UnknownRemoteDeviceError << false << ErrorKind::other;
        // What Qt 6.4 makes of an error reply to BlueZ's Connect().
        QTest::newRow("unknown error while connecting")
            << QLowEnergyController::UnknownError << false << ErrorKind::connectionFailed;
        QTest::newRow("unknown error once connected")
            << QLowEnergyController::UnknownError << true << ErrorKind::other;
    }
    void controllerErrorMapping() {
        QFETCH(QLowEnergyController::Error, error);
        QFETCH(bool, linkUp);
        QFETCH(ErrorKind, kind);
        const auto mapped =
            QtBleAdapter::mapControllerError(error, linkUp, QStringLiteral("Unknown Error"));
        QCOMPARE(mapped.kind, kind);
        // Before the link is up, a text that says what happened, not Qt's.
        QCOMPARE(mapped.text,
                 linkUp ? QStringLiteral("Unknown Error") : QtBleAdapter::connectFailedText);
    }
};

QTEST_GUILESS_MAIN(TestQtBleAdapter)
#include "test_qt_ble_adapter.moc"
