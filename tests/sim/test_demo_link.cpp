#include "../controller/fake_link.h"
#include "controller/mesh_controller.h"
#include "sim/demo_link.h"
#include "sim/simulated_radio.h"
#include "test_support.h"
#include "time/clock.h"

#include <QSignalSpy>
#include <QTest>

using namespace std::chrono_literals;

class TestDemoLink : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void initTestCase() { TestSupport::isolateFromUserFiles(); }

    // A drop of the active link reaches the listener as `disconnected`
    // before the idle link's state, whichever link was active.
    void dropOfTheActiveLinkReachesTheController_data() {
        QTest::addColumn<bool>("simulatedActive");
        QTest::newRow("simulated radio, Bluetooth ready") << true;
        QTest::newRow("Bluetooth, simulated radio ready") << false;
    }
    void dropOfTheActiveLinkReachesTheController() {
        QFETCH(bool, simulatedActive);
        TestSupport::VoidOutcome waiting;
        ManualClock clock;
        FakeLink bluetooth;
        bluetooth.setState(TransportState::ready);
        SimulatedRadio radio(&clock, 3);
        radio.populateDemoNeighbours();
        DemoLink link(&bluetooth, &radio);
        auto controller =
            std::make_unique<MeshController>(&link, &clock, nullptr, nullptr, nullptr);
        clock.settle();
        QSignalSpy states(&link, &MeshLink::transportStateChanged);
        QCoro::Task<void> task;

        if (simulatedActive) {
            controller->startScan();
            clock.advance(500ms);
            controller->connectToDevice(controller->discoveredDevices().first());
            clock.advance(20s);
            QVERIFY(controller->selfInfo());
            QVERIFY(!controller->contacts().isEmpty());
            controller->setSelectedConversation(
                ConversationID::contact(controller->contacts().first().publicKey));
            task = TestSupport::captureVoid(controller->refreshDeviceStats(), &waiting);
            states.clear();
            radio.dropLink();
        } else {
            const DiscoveredDevice device{QUuid::createUuid(), QStringLiteral("Radio"), -60, {}};
            Q_EMIT bluetooth.transportDiscovered(device);
            link.connectToDevice(device);
            bluetooth.becomeUsable();
            QCOMPARE(controller->transportState(), TransportState::connected);
            task = TestSupport::captureVoid(controller->refreshDeviceStats(), &waiting);
            states.clear();
            bluetooth.setState(TransportState::disconnected);
        }

        QCOMPARE(states.first().first().value<TransportState>(), TransportState::disconnected);
        QVERIFY(!controller->selfInfo());
        QVERIFY(controller->contacts().isEmpty());
        QVERIFY(!controller->selectedConversation());
        QVERIFY(waiting.done);
        QCOMPARE(controller->pendingRequestCount(), 0);
        QCOMPARE(controller->transportState(), link.state());
    }
};

QTEST_GUILESS_MAIN(TestDemoLink)
#include "test_demo_link.moc"
