// The radio's name and power, adverts, reboot, battery and statistics.

#include "controller_rig.h"
#include "protocol/mesh_protocol.h"
#include "sim_rig.h"
#include "test_support.h"

#include <QJSEngine>
#include <QSignalSpy>
#include <QTest>

using namespace std::chrono_literals;
using TestSupport::captureVoid;
using TestSupport::hex;
using TestSupport::VoidOutcome;

namespace {

DeviceStats coreStats(std::uint32_t uptime) {
    DeviceStats s;
    s.batteryMilliVolts = 3990;
    s.uptimeSeconds = uptime;
    s.txQueueLength = 0;
    return s;
}

DeviceStats radioStats(int rssi) {
    DeviceStats s;
    s.noiseFloor = -110;
    s.lastRSSI = rssi;
    s.lastSNR = 7.5;
    return s;
}

DeviceStats packetStats(std::uint32_t received) {
    DeviceStats s;
    s.packetsReceived = received;
    s.packetsSent = 3;
    return s;
}

} // namespace

class TestDeviceSettings : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void initTestCase() { TestSupport::isolateFromUserFiles(); }

    // --- setDeviceName, setTxPower

    void settingsChange_data() {
        QTest::addColumn<QString>("setting"); // "name" or "power"
        QTest::addColumn<int>("power");
        QTest::addColumn<QString>("knob");
        QTest::addColumn<int>("millisToEnd");
        QTest::addColumn<QString>("error");
        QTest::addColumn<bool>("selfInfoUpdated");

        for (const char* setting : {"name", "power"}) {
            const QString s = QString::fromLatin1(setting);
            QTest::addRow("%s: accepted, re-read", setting) << s << 10 << "" << 60 << "" << true;
            QTest::addRow("%s: not connected", setting)
                << s << 10 << "disconnect" << 0 << "Not connected to a device." << false;
            QTest::addRow("%s: no answer in 5 s", setting)
                << s << 10 << "drop" << 5000 << "The device did not respond in time." << false;
            QTest::addRow("%s: refused", setting)
                << s << 10 << "fail" << 30 << "Unsupported command" << false;
            QTest::addRow("%s: re-read lost", setting)
                << s << 10 << "drop re-read" << 5030 << "" << false;
            QTest::addRow("%s: re-read refused", setting)
                << s << 10 << "fail re-read" << 60 << "" << false;
        }
        QTest::newRow("power above the radio's maximum")
            << "power" << 30 << "" << 30 << "Illegal argument" << false;
    }
    void settingsChange() {
        QFETCH(QString, setting);
        QFETCH(int, power);
        QFETCH(QString, knob);
        QFETCH(int, millisToEnd);
        QFETCH(QString, error);
        QFETCH(bool, selfInfoUpdated);

        VoidOutcome outcome;
        SimRig rig;
        QVERIFY(rig.connect());
        const std::optional<SelfInfo> before = rig.controller->selfInfo();
        QVERIFY(before);
        const bool name = setting == QLatin1String("name");
        const std::uint8_t code = name ? RadioCommand::setAdvertName : RadioCommand::setTxPower;
        if (knob == QLatin1String("disconnect"))
            rig.radio.dropLink();
        else if (knob == QLatin1String("drop"))
            rig.radio.dropNextAnswerTo(code);
        else if (knob == QLatin1String("fail"))
            rig.radio.failNextCommand(code, MeshProtocol::DeviceError::unsupportedCommand);
        else if (knob == QLatin1String("drop re-read"))
            rig.radio.dropNextAnswerTo(RadioCommand::appStart);
        else if (knob == QLatin1String("fail re-read"))
            rig.radio.failNextCommand(RadioCommand::appStart, MeshProtocol::DeviceError::badState);

        QSignalSpy changed(rig.controller.get(), &MeshController::selfInfoChanged);
        if (name)
            captureVoid(rig.controller->setDeviceName(QStringLiteral("Mökki")), &outcome);
        else
            captureVoid(rig.controller->setTxPower(std::uint8_t(power)), &outcome);
        QVERIFY(rig.endsAfter(outcome, millisToEnd));
        QCOMPARE(errorTextOf(outcome), error);
        if (knob == QLatin1String("disconnect")) {
            QVERIFY(rig.radio.writtenFrames().isEmpty());
            return;
        }
        const bool accepted = error.isEmpty();
        const QList<int> codes =
            accepted ? QList<int>{code, RadioCommand::appStart} : QList<int>{code};
        QCOMPARE(rig.writtenCodes(), codes);
        if (selfInfoUpdated) {
            QCOMPARE(rig.controller->selfInfo(), rig.radio.selfInfo());
            if (name)
                QCOMPARE(rig.controller->selfInfo()->name, QStringLiteral("Mökki"));
            else
                QCOMPARE(int(rig.controller->selfInfo()->txPower), power);
            QCOMPARE(changed.count(), 1);
        } else {
            QCOMPARE(rig.controller->selfInfo(), before);
            QCOMPARE(changed.count(), 0);
        }
        // What the radio took, whether or not the re-read told us.
        if (accepted && !name)
            QCOMPARE(int(rig.radio.selfInfo().txPower), power);
    }

    void nameIsSentAsGiven_data() {
        QTest::addColumn<QString>("name");
        QTest::addColumn<QByteArray>("frame");
        QTest::newRow("empty") << "" << hex("08");
        QTest::newRow("blanks kept") << " a b " << hex("08") + " a b ";
        QTest::newRow("UTF-8") << "Mökki" << hex("08 4d c3 b6 6b 6b 69");
    }
    void nameIsSentAsGiven() {
        QFETCH(QString, name);
        QFETCH(QByteArray, frame);
        VoidOutcome outcome;
        ControllerRig rig;
        rig.connectQuietly();
        captureVoid(rig.controller->setDeviceName(name), &outcome);
        QCOMPARE(rig.link.written, QList<QByteArray>{frame});
    }

    // --- sendAdvert

    void sendAdvertNeverFails_data() {
        QTest::addColumn<int>("kind");
        QTest::addColumn<QString>("knob");
        QTest::addColumn<int>("millisToEnd");

        QTest::newRow("flood") << 1 << "" << 30;
        QTest::newRow("zero hop") << 0 << "" << 30;
        QTest::newRow("not connected") << 1 << "disconnect" << 0;
        QTest::newRow("no answer: returns after 5 s") << 1 << "drop" << 5000;
        QTest::newRow("refused") << 0 << "fail" << 30;
    }
    void sendAdvertNeverFails() {
        QFETCH(int, kind);
        QFETCH(QString, knob);
        QFETCH(int, millisToEnd);

        VoidOutcome outcome;
        SimRig rig;
        QVERIFY(rig.connect());
        if (knob == QLatin1String("disconnect"))
            rig.radio.dropLink();
        else if (knob == QLatin1String("drop"))
            rig.radio.dropNextAnswerTo(RadioCommand::sendSelfAdvert);
        else if (knob == QLatin1String("fail"))
            rig.radio.failNextCommand(RadioCommand::sendSelfAdvert,
                                      MeshProtocol::DeviceError::badState);

        captureVoid(rig.controller->sendAdvert(std::uint8_t(kind)), &outcome);
        QVERIFY(rig.endsAfter(outcome, millisToEnd));
        QVERIFY(!outcome.error);
        QCOMPARE(rig.radio.writtenFrames(), knob == QLatin1String("disconnect")
                                                ? QList<QByteArray>{}
                                                : QList<QByteArray>{hex("07") + char(kind)});
    }

    // --- reboot

    void rebootWritesAndWaitsForNothing() {
        ControllerRig rig;
        rig.controller->reboot();
        QVERIFY(rig.link.written.isEmpty()); // no link, nothing written

        rig.connectQuietly();
        const int timers = rig.clock.pendingTimers();
        rig.controller->reboot();
        QCOMPARE(rig.link.written, QList<QByteArray>{hex("13 72 65 62 6f 6f 74")});
        QCOMPARE(rig.clock.pendingTimers(), timers); // no request, no timeout
    }

    void rebootEndsTheSession() {
        SimRig rig;
        QVERIFY(rig.connect());
        QVERIFY(!rig.controller->contacts().isEmpty() || !rig.controller->channels().isEmpty());
        rig.controller->reboot();
        QCOMPARE(rig.controller->transportState(), TransportState::connected);
        rig.clock.advance(100ms);
        QCOMPARE(rig.controller->transportState(), TransportState::disconnected);
        QVERIFY(rig.controller->channels().isEmpty());
        QVERIFY(!rig.controller->selfInfo());
    }

    // --- refreshBattery

    void refreshBattery_data() {
        QTest::addColumn<QString>("knob");
        QTest::addColumn<bool>("updated");
        QTest::newRow("answered") << "" << true;
        QTest::newRow("no answer") << "drop" << false;
        QTest::newRow("refused") << "fail" << false;
        QTest::newRow("not connected: nothing asked") << "disconnect" << false;
    }
    void refreshBattery() {
        QFETCH(QString, knob);
        QFETCH(bool, updated);

        VoidOutcome outcome;
        SimRig rig;
        QVERIFY(rig.connect());
        const auto before = rig.controller->battery();
        rig.clock.advance(2h); // the cell drains
        QVERIFY(rig.radio.battery() != *before);
        if (knob == QLatin1String("drop"))
            rig.radio.dropNextAnswerTo(RadioCommand::getBatteryAndStorage);
        else if (knob == QLatin1String("fail"))
            rig.radio.failNextCommand(RadioCommand::getBatteryAndStorage, std::nullopt);
        else if (knob == QLatin1String("disconnect"))
            rig.radio.dropLink();

        QSignalSpy changed(rig.controller.get(), &MeshController::batteryChanged);
        captureVoid(rig.controller->refreshBattery(), &outcome);
        rig.clock.advance(5s);
        QVERIFY(outcome.done && !outcome.error);
        const bool connected = knob != QLatin1String("disconnect");
        QCOMPARE(rig.writtenCodes(),
                 connected ? QList<int>{RadioCommand::getBatteryAndStorage} : QList<int>{});
        QCOMPARE(rig.controller->battery(), updated     ? rig.radio.battery()
                                            : connected ? before
                                                        : std::nullopt);
        QCOMPARE(changed.count(), updated ? 1 : 0);
    }

    // --- refreshDeviceStats

    void statisticsGroupsInOrder() {
        VoidOutcome first;
        VoidOutcome second;
        ControllerRig rig;
        rig.connectQuietly();
        // The radio answers the groups listed in `answered` right away.
        QList<int> answered{0, 1, 2};
        std::uint32_t round = 1;
        rig.link.onWrite = [&](const QByteArray& frame) {
            const int group = frame.at(1);
            if (frame.at(0) != 0x38 || !answered.contains(group))
                return;
            const DeviceStats stats = group == 0   ? coreStats(100 * round)
                                      : group == 1 ? radioStats(-60 - int(round))
                                                   : packetStats(10 * round);
            rig.deliver(Events::Stats{stats});
        };
        QSignalSpy core(rig.controller.get(), &MeshController::coreStatsChanged);
        QSignalSpy radio(rig.controller.get(), &MeshController::radioStatsChanged);
        QSignalSpy packets(rig.controller.get(), &MeshController::packetStatsChanged);

        captureVoid(rig.controller->refreshDeviceStats(), &first);
        QVERIFY(first.done && !first.error);
        QCOMPARE(rig.link.written, (QList<QByteArray>{hex("38 00"), hex("38 01"), hex("38 02")}));
        QCOMPARE(rig.controller->coreStats(), coreStats(100));
        QCOMPARE(rig.controller->radioStats(), radioStats(-61));
        QCOMPARE(rig.controller->packetStats(), packetStats(10));

        // The same answers again notify nothing.
        captureVoid(rig.controller->refreshDeviceStats(), &first);
        QCOMPARE(core.count(), 1);
        QCOMPARE(radio.count(), 1);
        QCOMPARE(packets.count(), 1);

        // The radio group goes unanswered: the packets are asked for after its 5 s.
        round = 2;
        answered = {0, 2};
        rig.link.written.clear();
        captureVoid(rig.controller->refreshDeviceStats(), &second);
        QCOMPARE(rig.link.written, (QList<QByteArray>{hex("38 00"), hex("38 01")}));
        rig.clock.advance(4999ms);
        QCOMPARE(rig.link.written.size(), 2);
        rig.clock.advance(1ms);
        QVERIFY(second.done && !second.error);
        QCOMPARE(rig.link.written.size(), 3);
        QCOMPARE(rig.controller->coreStats(), coreStats(200));
        QCOMPARE(rig.controller->radioStats(), radioStats(-61));
        QCOMPARE(rig.controller->packetStats(), packetStats(20));
        QCOMPARE(core.count(), 2);
        QCOMPARE(radio.count(), 1);
        QCOMPARE(packets.count(), 2);

        // Disconnected: nothing asked, nothing changed.
        rig.link.setState(TransportState::disconnected);
        rig.link.written.clear();
        captureVoid(rig.controller->refreshDeviceStats(), &second);
        QVERIFY(rig.link.written.isEmpty());
        QCOMPARE(rig.controller->coreStats(), coreStats(200));
    }

    void statisticsFromTheRadio() {
        VoidOutcome outcome;
        SimRig rig;
        QVERIFY(rig.connect());
        rig.clock.advance(90s);
        captureVoid(rig.controller->refreshDeviceStats(), &outcome);
        rig.clock.advance(1s);
        QVERIFY(outcome.done && !outcome.error);
        QVERIFY(rig.controller->coreStats().uptimeSeconds.value_or(0) >= 90);
        QVERIFY(!rig.controller->coreStats().lastRSSI); // each record holds its own group only
        QCOMPARE(rig.controller->radioStats().noiseFloor, -112);
        QVERIFY(rig.controller->packetStats().packetsReceived);
        QCOMPARE(rig.writtenCodes(), (QList<int>{0x38, 0x38, 0x38}));
    }

    // --- QML entry points

    void qmlDeviceCalls() {
        QJSEngine engine; // outlives the rig: waiting callbacks may still run in its teardown
        SimRig rig;
        QVERIFY(rig.connect());
        QJSValue results = engine.newArray();
        engine.globalObject().setProperty(QStringLiteral("results"), results);
        const QJSValue keep =
            engine.evaluate(QStringLiteral("(function (r) { results.push(r); })"));

        rig.controller->setTxPowerQml(300).then(keep);
        QVERIFY(rig.radio.writtenFrames().isEmpty());
        rig.controller->setTxPowerQml(5).then(keep);
        rig.controller->sendAdvertQml(1).then(keep);
        rig.clock.advance(200ms);

        QCOMPARE(results.property("length").toInt(), 3);
        QCOMPARE(results.property(0).property("error").toString(),
                 QStringLiteral("Illegal argument"));
        QCOMPARE(results.property(1).property("ok").toBool(), true);
        QCOMPARE(results.property(2).property("ok").toBool(), true);
        QCOMPARE(rig.controller->selfInfo()->txPower, 5);
    }
};

QTEST_GUILESS_MAIN(TestDeviceSettings)
#include "test_device_settings.moc"
