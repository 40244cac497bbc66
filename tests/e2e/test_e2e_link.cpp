#include "bluez_rig.h"
#include "controller/mesh_error.h"
#include "protocol/mesh_protocol.h"
#include "sim_rig.h"

#include <QSignalSpy>

using namespace std::chrono_literals;
using namespace Qt::StringLiterals;
using T = TransportState;
using PowerState = BleAdapter::PowerState;
using Kind = PairingPrompt::Kind;

namespace {

const QVariantMap pinRadio{{QStringLiteral("security"), QStringLiteral("notify")},
                           {QStringLiteral("pin"), QStringLiteral("123456")}};

QVariantMap with(QVariantMap fields, const QString& key, const QVariant& value) {
    fields.insert(key, value);
    return fields;
}

} // namespace

// The link end to end over the stand-in BlueZ: scanning, connecting, the
// handshake over notifications, a message and its delivery, the link lost
// and made again, connection attempts that fail or are never answered, and
// Bluetooth going away and coming back: switched off and on, from the app
// where the system allows it, and the service, the adapter or the permission
// missing. Then what real radios and desktops bring: PINs, the MTU, radios
// BlueZ knows already, stale bonds and forgetting, one operation at a time
// towards BlueZ, set-ups that go wrong, Service Changed, and the radio lost
// to a vanished device object, a sleep or a replaced adapter.
class TestE2eLink : public QObject {
    Q_OBJECT

    PrivateBus m_bus;
    std::unique_ptr<StandInBluez> m_bluez;

    bool startBluez(const QStringList& options = {}) {
        m_bluez = std::make_unique<StandInBluez>();
        return m_bluez->start(options);
    }
    int connectAttempts() { return m_bluez->call("ConnectAttempts", StandInBluez::radioA).toInt(); }
    bool isDiscovering() { return m_bluez->call("IsDiscovering").toBool(); }
    int count(const char* method, const QString& address = StandInBluez::radioA) {
        return m_bluez->call(method, address).toInt();
    }
    bool radioIs(const char* method) {
        return m_bluez->call(method, StandInBluez::radioA).toBool();
    }

private Q_SLOTS:
    void initTestCase() {
        TestSupport::isolateFromUserFiles();
        QVERIFY2(startAsSystemBus(m_bus), "could not start a private dbus-daemon");
    }
    void cleanup() { m_bluez.reset(); }

    // Each advertisement is listed once, with its newest signal. A radio
    // BlueZ still knows from before is not listed until it is heard; one it
    // forgot is new again.
    void scanning() {
        QVERIFY(startBluez());
        LinkRig rig;
        QTRY_COMPARE(rig.state(), T::ready);
        QSignalSpy reports(rig.link.get(), &MeshLink::transportDiscovered);
        QVERIFY(rig.findRadioA());
        QCOMPARE(rig.state(), T::scanning);
        QVERIFY(isDiscovering());
        QTest::qWait(300); // three advertising rounds with an unchanged signal
        QCOMPARE(reports.count(), 1);
        QCOMPARE(rig.radioA()->rssi, -58);
        m_bluez->call("SetRssi", StandInBluez::radioA, -71);
        QTRY_COMPARE(rig.radioA()->rssi, -71);
        QCOMPARE(reports.count(), 2);
        QCOMPARE(rig.controller->discoveredDevices().size(), 1);

        rig.controller->stopScan();
        QCOMPARE(rig.state(), T::ready);
        QTRY_VERIFY(!isDiscovering());
        m_bluez->call("SetInRange", StandInBluez::radioA, false);
        rig.controller->startScan();
        QTRY_VERIFY(isDiscovering());
        QTest::qWait(300);
        QVERIFY(rig.controller->discoveredDevices().isEmpty());
        m_bluez->call("SetInRange", StandInBluez::radioA, true);
        QTRY_COMPARE(rig.radioA().value_or(DiscoveredDevice()).rssi, -71);

        rig.controller->stopScan();
        m_bluez->call("ForgetDevices");
        m_bluez->call("SetRssi", StandInBluez::radioA, -58);
        QVERIFY(rig.findRadioA());
        QCOMPARE(rig.radioA()->rssi, -58);
    }

    // Connect, the handshake over notifications, then a direct message that
    // goes out and is delivered; the history file holds it.
    void handshakeAndDeliveredMessage() {
        QVERIFY(startBluez());
        LinkRig rig;
        QTRY_COMPARE(rig.state(), T::ready);
        QVERIFY(rig.connectRadioA());
        QVERIFY(rig.controller->deviceInfo().has_value());
        QVERIFY(!rig.controller->contacts().isEmpty());
        QVERIFY(!rig.controller->channels().isEmpty());
        QVERIFY(rig.controller->connectionError().isEmpty());

        const Contact contact = rig.controller->contacts().first();
        const ConversationID chat = ConversationID::contact(contact.publicKey);
        rig.controller->sendMessage(QStringLiteral("Over the air"), chat);
        const auto lastState = [&] {
            const Conversation conversation =
                rig.controller->conversations().value(chat.conversationKey());
            return conversation.messages.isEmpty() ? ChatMessage::DeliveryState::failed
                                                   : conversation.messages.last().deliveryState;
        };
        QTRY_COMPARE_WITH_TIMEOUT(lastState(), ChatMessage::DeliveryState::delivered, 5000);
        rig.store->flush();
        QFile file(rig.store->filePath());
        QVERIFY(file.open(QIODevice::ReadOnly));
        QVERIFY(file.readAll().contains("Over the air"));
    }

    // The radio drops the link, or Bluetooth is switched off: the controller
    // hears of a disconnect first, so every waiting request fails at once
    // and the radio's state goes; a new connection goes through all the same.
    void linkLossResetsTheController_data() {
        QTest::addColumn<bool>("powerOff");
        QTest::addColumn<QList<T>>("states");
        QTest::newRow("radio drops the link") << false << QList<T>{T::disconnected};
        QTest::newRow("Bluetooth off") << true << QList<T>{T::disconnected, T::poweredOff};
    }
    void linkLossResetsTheController() {
        QFETCH(bool, powerOff);
        QFETCH(QList<T>, states);
        QVERIFY(startBluez());
        LinkRig rig;
        QTRY_COMPARE(rig.state(), T::ready);
        QVERIFY(rig.connectRadioA());

        m_bluez->call("DropAnswers", StandInBluez::radioA, 1);
        TestSupport::Outcome<MeshEvent> waiting;
        TestSupport::capture(rig.controller->request(MeshProtocol::getBatteryAndStorage(),
                                                     ExpectedResponse::batteryVoltage, 5s),
                             &waiting);
        QTest::qWait(50);
        QVERIFY(!waiting.done);
        QSignalSpy reports(rig.link.get(), &MeshLink::transportStateChanged);
        if (powerOff)
            m_bluez->call("SetPowered", false);
        else
            m_bluez->call("DropRadio", StandInBluez::radioA);
        QTRY_COMPARE(rig.state(), states.constLast());
        QCOMPARE(reports.size(), states.size());
        for (qsizetype i = 0; i < states.size(); ++i)
            QCOMPARE(reports.at(i).at(0).value<T>(), states.at(i));
        QVERIFY(waiting.done);
        QCOMPARE(errorTextOf(waiting), MeshError::notConnected().description());
        QVERIFY(!rig.controller->selfInfo());
        QVERIFY(rig.controller->contacts().isEmpty());
        QVERIFY(rig.controller->connectionError().isEmpty());

        m_bluez->call("SetPowered", true);
        QTRY_VERIFY(rig.state() != T::poweredOff);
        QVERIFY(rig.connectRadioA());
        QCOMPARE(connectAttempts(), 2);
    }

    // BlueZ answers every Connect with an error: three more attempts 0.4 s
    // apart, then a text that says what happened.
    void failingConnectIsRetriedThenExplained() {
        QVERIFY(startBluez());
        m_bluez->call("SetConnectMode", StandInBluez::radioA, QStringLiteral("fail"));
        LinkRig rig;
        QVERIFY(rig.chooseRadioA());
        for (int attempt = 1; attempt <= BluetoothTransport::maxConnectRetries; ++attempt) {
            QTRY_COMPARE(connectAttempts(), attempt);
            QTest::qWait(30); // the error reply reaches the link
            QCOMPARE(rig.state(), T::connecting);
            rig.clock.advance(BluetoothTransport::retryDelay);
        }
        QTRY_COMPARE(rig.state(), T::disconnected);
        QCOMPARE(connectAttempts(), 1 + BluetoothTransport::maxConnectRetries);
        QCOMPARE(rig.controller->connectionError(), QtBleAdapter::connectFailedText);
    }

    // BlueZ never answers Connect: the link gives up on its own clock, tells
    // BlueZ to cancel, and the next attempt is not refused as in progress.
    void unansweredConnectIsCancelledAndRetried() {
        QVERIFY(startBluez());
        m_bluez->call("SetConnectMode", StandInBluez::radioA, QStringLiteral("hang"));
        LinkRig rig;
        QVERIFY(rig.chooseRadioA());
        QTRY_COMPARE(connectAttempts(), 1);

        rig.clock.advance(BluetoothTransport::connectTimeout);
        // The link's own Disconnect ends the attempt at BlueZ at once; the
        // retry goes out only once BlueZ has answered it.
        QTRY_COMPARE(m_bluez->call("DisconnectCalls", StandInBluez::radioA).toInt(), 1);
        QCOMPARE(rig.state(), T::connecting);

        m_bluez->call("SetConnectMode", StandInBluez::radioA, QStringLiteral("succeed"));
        rig.clock.advance(BluetoothTransport::retryDelay);
        QTRY_COMPARE_WITH_TIMEOUT(rig.state(), T::connected, 5000);
        QCOMPARE(connectAttempts(), 2);
        QTRY_VERIFY(!rig.controller->isSyncing());
        QVERIFY(rig.controller->selfInfo().has_value());
    }

    // Switched off while scanning: the state follows, and the scan resumes
    // by itself when Bluetooth is back.
    void offWhileScanningResumesWhenBack() {
        QVERIFY(startBluez());
        LinkRig rig;
        QTRY_COMPARE(rig.state(), T::ready);
        QVERIFY(rig.findRadioA());

        m_bluez->call("SetPowered", false);
        QTRY_COMPARE(rig.state(), T::poweredOff);
        QCOMPARE(rig.link->state(), T::poweredOff);

        m_bluez->call("SetPowered", true);
        QTRY_COMPARE(rig.state(), T::scanning);
        QTRY_VERIFY(m_bluez->call("IsDiscovering").toBool());
        m_bluez->call("SetRssi", StandInBluez::radioA, -66);
        QTRY_COMPARE(rig.radioA().value_or(DiscoveredDevice()).rssi, -66);
    }

    // The adapter switched on from the app, where the system allows it.
    void powerOnFromTheApp_data() {
        QTest::addColumn<bool>("allowed");
        QTest::newRow("allowed") << true;
        QTest::newRow("refused") << false;
    }
    void powerOnFromTheApp() {
        QFETCH(bool, allowed);
        QVERIFY(startBluez());
        m_bluez->call("SetPowered", false);
        m_bluez->call("SetPowerOnAllowed", allowed);
        LinkRig rig;
        QTRY_COMPARE(rig.state(), T::poweredOff);
        QVERIFY(rig.adapter->canPowerOn());
        rig.adapter->powerOn();
        if (allowed) {
            QTRY_COMPARE(rig.state(), T::ready);
        } else {
            QTRY_VERIFY(!rig.adapter->canPowerOn());
            QCOMPARE(rig.state(), T::poweredOff);
        }
    }

    // QtBluetooth says nothing when an adapter that is off goes away; the
    // screen must still tell that it is gone, and see it come back.
    void anAdapterRemovedWhileOffIsNoticed() {
        QVERIFY(startBluez());
        m_bluez->call("SetPowered", false);
        LinkRig rig;
        QTRY_COMPARE(rig.adapter->powerState(), PowerState::poweredOff);
        m_bluez->call("RemoveAdapter");
        QTRY_COMPARE(rig.adapter->powerState(), PowerState::noAdapter);
        m_bluez->call("AddAdapter");
        QTRY_COMPARE(rig.adapter->powerState(), PowerState::poweredOn);
        QTRY_COMPARE(rig.state(), T::ready);
    }

    // Why Bluetooth cannot be used, told apart, and the way back from each.
    void whyBluetoothIsUnusable_data() {
        QTest::addColumn<QStringList>("options");
        QTest::addColumn<bool>("denied");
        QTest::addColumn<PowerState>("power");
        QTest::addColumn<T>("state");
        QTest::addColumn<QString>("remedy");
        QTest::newRow("no service")
            << QStringList{QStringLiteral("--no-service")} << false << PowerState::noService
            << T::disconnected << QStringLiteral("ClaimService");
        QTest::newRow("no adapter")
            << QStringList{QStringLiteral("--no-adapter")} << false << PowerState::noAdapter
            << T::disconnected << QStringLiteral("AddAdapter");
        QTest::newRow("not permitted")
            << QStringList() << true << PowerState::unauthorized << T::unauthorized << QString();
    }
    void whyBluetoothIsUnusable() {
        QFETCH(QStringList, options);
        QFETCH(bool, denied);
        QFETCH(PowerState, power);
        QFETCH(T, state);
        QFETCH(QString, remedy);
        QVERIFY(startBluez(options));
        m_bluez->call("SetDenied", denied);
        LinkRig rig;
        QTRY_COMPARE(rig.adapter->powerState(), power);
        QCOMPARE(rig.state(), state);
        QVERIFY(!rig.adapter->canPowerOn());
        rig.controller->startScan();
        QCOMPARE(rig.state(), state);
        if (remedy.isEmpty())
            return;
        m_bluez->call(remedy.toLatin1().constData());
        QTRY_COMPARE(rig.adapter->powerState(), PowerState::poweredOn);
        QTRY_COMPARE(rig.state(), T::ready);
        QVERIFY(rig.findRadioA());
    }

    // A radio that wants a bond: BlueZ asks Talvenne's own agent (registered
    // only while Talvenne connects or pairs, and asked for Talvenne's
    // attempts also where the desktop runs an agent of its own), the user
    // answers in the prompt, taking the time they need, and the link goes on
    // after pairing, which happens once. A wrong PIN, a cancel, nobody to
    // ask or BlueZ giving up end the attempt with a text that says so.
    // Discovery never reads the descriptors, which such a radio refuses.
    void pinPairing_data() {
        QTest::addColumn<QVariantMap>("radio");
        QTest::addColumn<QString>("setting");
        QTest::addColumn<Kind>("asked");
        QTest::addColumn<QString>("answer");
        QTest::addColumn<QString>("error"); // empty: connected and in sync
        const QString refused = BluetoothTransport::pinRefusedText;
        const QString cancelled = BluetoothTransport::pairingCancelledText;
        const auto row = [](const char* name, const QVariantMap& radio, const char* setting,
                            Kind asked, const char* answer, const QString& error) {
            QTest::newRow(name) << radio << QString::fromLatin1(setting) << asked
                                << QString::fromLatin1(answer) << error;
        };
        row("right PIN", pinRadio, "", Kind::enterPasskey, "123456", {});
        row("wrong PIN", pinRadio, "", Kind::enterPasskey, "111111", refused);
        row("cancelled", pinRadio, "", Kind::enterPasskey, "refuse", cancelled);
        row("BlueZ gives up", pinRadio, "", Kind::enterPasskey, "abandon", cancelled);
        row("no agent", pinRadio, "refuse agents", Kind::none, "",
            BluetoothTransport::noPinAgentText);
        row("desktop agent running", pinRadio, "desktop agent", Kind::enterPasskey, "123456", {});
        row("passkey to confirm", with(pinRadio, QStringLiteral("confirmPin"), true), "",
            Kind::confirmPasskey, "accept", {});
        row("passkey not confirmed", with(pinRadio, QStringLiteral("confirmPin"), true), "",
            Kind::confirmPasskey, "refuse", refused);
        row("passkey to type on the radio", with(pinRadio, QStringLiteral("showPin"), true), "",
            Kind::showPasskey, "typed on the radio", {});
        row("without a PIN", with(pinRadio, QStringLiteral("pin"), QString()), "", Kind::none, "",
            {});
        row("writes refused until paired", with(pinRadio, QStringLiteral("security"), u"write"_s),
            "", Kind::enterPasskey, "123456", {});
    }
    void pinPairing() {
        QFETCH(QVariantMap, radio);
        QFETCH(QString, setting);
        QFETCH(Kind, asked);
        QFETCH(QString, answer);
        QFETCH(QString, error);
        QVERIFY(startBluez());
        m_bluez->configure(StandInBluez::radioA, radio);
        m_bluez->call("SetRefuseAgents", setting == QLatin1String("refuse agents"));
        m_bluez->call("SetDesktopAgent", setting == QLatin1String("desktop agent"));
        LinkRig rig;
        QTRY_COMPARE(rig.state(), T::ready);
        QVERIFY(rig.findRadioA());
        QCOMPARE(m_bluez->call("RegisteredAgents").toInt(), 0);
        rig.controller->connectToDevice(*rig.radioA());
        if (asked != Kind::none) {
            QTRY_COMPARE(rig.prompt()->kind(), asked);
            QCOMPARE(rig.prompt()->radioName(), StandInBluez::radioAName);
            if (asked != Kind::enterPasskey)
                QCOMPARE(rig.prompt()->passkey(), QStringLiteral("123456"));
            QCOMPARE(m_bluez->call("RegisteredAgents").toInt(), 1);
            // The person takes their time; the attempt waits for them.
            if (rig.state() == T::connecting)
                rig.clock.advance(BluetoothTransport::connectTimeout * 2);
            if (answer == QLatin1String("refuse"))
                rig.prompt()->refuse();
            else if (answer == QLatin1String("accept"))
                rig.prompt()->accept();
            else if (answer == QLatin1String("abandon"))
                m_bluez->call("AbandonPairing", StandInBluez::radioA);
            else if (answer == QLatin1String("typed on the radio"))
                m_bluez->call("TypeOnRadio", StandInBluez::radioA, 123456u);
            else
                rig.prompt()->enter(answer.toUInt());
        }
        if (error.isEmpty()) {
            QVERIFY(QTest::qWaitFor([&] { return rig.inSync(); }, 5000));
            QVERIFY(radioIs("IsPaired"));
            QVERIFY(rig.controller->connectionError().isEmpty());
        } else {
            QTRY_COMPARE(rig.controller->connectionError(), error);
            QCOMPARE(rig.state(), T::disconnected);
            QTRY_VERIFY(!radioIs("IsConnected"));
            QVERIFY(!radioIs("IsPaired"));
        }
        QCOMPARE(rig.prompt()->kind(), Kind::none);
        QCOMPARE(count("PairCalls"), 1);
        QCOMPARE(m_bluez->call("DesktopAgentRequests").toInt(), 0);
        QTRY_COMPARE(m_bluez->call("RegisteredAgents").toInt(), 0);
        QVERIFY(!m_bluez->call("CallLog").toStringList().contains(QStringLiteral("ReadValue")));
    }

    // The MTU is read, and frames longer than a notification (the radio
    // sends them in pieces at MTU 23) arrive whole: the contacts and the own
    // name are complete. A command longer than MTU - 3 goes as a long write;
    // where the radio refuses that, the command fails at once with a text
    // that names the MTU, also the handshake's first.
    void mtu_data() {
        QTest::addColumn<int>("mtu");
        QTest::addColumn<bool>("longWrites");
        QTest::newRow("247") << 247 << true;
        QTest::newRow("23") << 23 << true;
        QTest::newRow("23, no long writes") << 23 << false;
    }
    void mtu() {
        QFETCH(int, mtu);
        QFETCH(bool, longWrites);
        QVERIFY(startBluez());
        m_bluez->configure(StandInBluez::radioA, {{QStringLiteral("mtu"), mtu},
                                                  {QStringLiteral("longWrites"), longWrites}});
        LinkRig rig;
        QVERIFY(rig.chooseRadioA());
        const QByteArray appStart =
            MeshProtocol::appStart(QString::fromLatin1(MeshProtocol::applicationName));
        if (!longWrites) {
            QVERIFY(rig.waitMoving([&] { return !rig.controller->connectionError().isEmpty(); }));
            QCOMPARE(
                rig.controller->connectionError(),
                BluetoothTransport::writeRefusedText(
                    appStart.size(), mtu, QStringLiteral("Operation failed with ATT error: 0x06")));
            QVERIFY(rig.controller->connectionError().contains(QLatin1String("MTU 23")));
            QVERIFY(!rig.controller->selfInfo());
            return;
        }
        QVERIFY(rig.waitMoving([&] { return rig.inSync(); }));
        QCOMPARE(rig.link->mtu(), mtu);
        QVERIFY(!rig.controller->selfInfo()->name.isEmpty());
        QVERIFY(rig.controller->contacts().size() > 3);
        for (const Contact& contact : rig.controller->contacts()) {
            QCOMPARE(contact.publicKey.size(), 64);
            QVERIFY(!contact.name.isEmpty());
        }
        if (mtu > 100)
            return;
        // A refused long write fails its command at once, naming the MTU.
        m_bluez->configure(StandInBluez::radioA, {{QStringLiteral("longWrites"), false}});
        TestSupport::VoidOutcome renamed;
        auto task = TestSupport::captureVoid(
            rig.controller->setDeviceName(QStringLiteral("A name far longer than twenty")),
            &renamed);
        QTRY_VERIFY(renamed.done);
        QVERIFY(errorTextOf(renamed).contains(QLatin1String("MTU 23")));
    }

    // Radios BlueZ knows (paired, or connected by another program) are
    // listed at once, marked, also when they do not advertise; two of the
    // same name are told apart by their address. A radio another program
    // holds is taken over as it is.
    void knownRadios() {
        QVERIFY(startBluez());
        m_bluez->call("AddRadio", StandInBluez::radioB, StandInBluez::radioAName, -70);
        m_bluez->call("AddRadio", StandInBluez::radioC, QStringLiteral("Known Radio"), -50);
        m_bluez->call("AddRadio", StandInBluez::radioD, QStringLiteral("Busy Radio"), -50);
        m_bluez->configure(StandInBluez::radioC, {{QStringLiteral("paired"), true},
                                                  {QStringLiteral("advertising"), false}});
        m_bluez->configure(StandInBluez::radioD, {{QStringLiteral("connectedElsewhere"), true},
                                                  {QStringLiteral("advertising"), false}});
        LinkRig rig;
        QTRY_COMPARE(rig.state(), T::ready);
        rig.controller->startScan();
        QTRY_VERIFY(rig.radio(StandInBluez::radioC) && rig.radio(StandInBluez::radioD));
        for (const QString& address : {StandInBluez::radioC, StandInBluez::radioD}) {
            QVERIFY(rig.radio(address)->known);
            QCOMPARE(rig.radio(address)->rssi, 0);
        }
        QTRY_VERIFY(rig.radioA() && rig.radio(StandInBluez::radioB));
        QCOMPARE(rig.radioA()->name, rig.radio(StandInBluez::radioB)->name);
        QVERIFY(!rig.radioA()->known);
        QCOMPARE(rig.controller->discoveredDevices().size(), 4);

        rig.controller->connectToDevice(*rig.radio(StandInBluez::radioD));
        QTRY_VERIFY(rig.inSync());
        QCOMPARE(count("ConnectAttempts", StandInBluez::radioD), 1);
    }

    // At start, the remembered radio that BlueZ knows is connected at once,
    // without an advertisement.
    void rememberedKnownRadioAtStart() {
        QVERIFY(startBluez());
        m_bluez->configure(StandInBluez::radioA, {{QStringLiteral("paired"), true},
                                                  {QStringLiteral("advertising"), false}});
        LinkRig rig;
        QBluetoothDeviceInfo info(QBluetoothAddress(StandInBluez::radioA), {}, 0);
        rig.settings->setValue(QLatin1String(MeshController::lastDeviceIdKey),
                               QtBleAdapter::stableId(info).toString(QUuid::WithoutBraces));
        rig.settings->setValue(QLatin1String(MeshController::lastDeviceNameKey),
                               StandInBluez::radioAName);
        rig.controller = std::make_unique<MeshController>(rig.link.get(), &rig.clock, &rig.notifier,
                                                          rig.store.get(), rig.settings.get());
        QTRY_COMPARE(rig.state(), T::ready);
        QVERIFY(rig.controller->enableAutomaticReconnection());
        QVERIFY(QTest::qWaitFor(
            [&] {
                rig.clock.settle();
                return rig.inSync();
            },
            5000));
    }

    // A bond the radio lost: pairing is not tried twice, and the text points
    // to forgetting it. Forgetting removes the bond; the radio is found again
    // and pairs afresh. Forgetting the connected radio ends the link first
    // and for good.
    void forgetAndPairAfresh() {
        QVERIFY(startBluez());
        m_bluez->configure(StandInBluez::radioA,
                           with(with(pinRadio, QStringLiteral("paired"), true),
                                QStringLiteral("staleBond"), true));
        LinkRig rig;
        rig.controller->enableAutomaticReconnection();
        QVERIFY(rig.chooseRadioA());
        QTRY_COMPARE(rig.controller->connectionError(), BluetoothTransport::pairingRemovedText);
        QCOMPARE(count("PairCalls"), 1);
        QCOMPARE(rig.state(), T::disconnected);

        rig.controller->forgetDevice();
        QTRY_VERIFY(
            m_bluez->call("CallLog").toStringList().contains(QStringLiteral("RemoveDevice")));
        QVERIFY(!radioIs("IsPaired"));
        QVERIFY(!rig.radioA());
        QVERIFY(rig.findRadioA());
        QVERIFY(!rig.radioA()->known);
        rig.controller->connectToDevice(*rig.radioA());
        QTRY_COMPARE(rig.prompt()->kind(), Kind::enterPasskey);
        rig.prompt()->enter(123456);
        QTRY_VERIFY(rig.inSync());

        rig.controller->forgetDevice();
        QCOMPARE(rig.state(), T::disconnected);
        QTRY_VERIFY(!radioIs("IsPaired"));
        QVERIFY(!radioIs("IsConnected"));
        rig.clock.advance(10s);
        QVERIFY(!rig.controller->isReconnecting());
        QCOMPARE(rig.state(), T::disconnected);
    }

    // One thing at a time towards BlueZ: a Connect answered InProgress waits
    // for the attempt under way; a cancelled attempt's Disconnect goes out
    // before the next Connect and does not tear that one down; and nothing
    // is scanned for while connecting (the scan stopped before Connect).
    void oneOperationAtATime_data() {
        QTest::addColumn<QString>("what");
        QTest::newRow("in progress") << "in progress";
        QTest::newRow("cancel and pick again") << "cancel";
        QTest::newRow("scan pressed while connecting") << "scan";
    }
    void oneOperationAtATime() {
        QFETCH(QString, what);
        QVERIFY(startBluez());
        if (what == QLatin1String("in progress"))
            m_bluez->configure(StandInBluez::radioA, {{QStringLiteral("busyMillis"), 300}});
        else
            m_bluez->call("SetConnectMode", StandInBluez::radioA, QStringLiteral("hang"));
        LinkRig rig;
        QTRY_COMPARE(rig.state(), T::ready);
        QVERIFY(rig.findRadioA());
        const DiscoveredDevice radio = *rig.radioA();
        rig.controller->connectToDevice(radio);
        QTRY_COMPARE(connectAttempts(), 1);
        if (what == QLatin1String("in progress")) {
            QTRY_VERIFY(rig.inSync());
            QVERIFY(connectAttempts() >= 2);
            QCOMPARE(count("DisconnectCalls"), 0);
            QVERIFY(rig.controller->connectionError().isEmpty());
            return;
        }
        if (what == QLatin1String("scan")) {
            rig.controller->startScan();
            QTest::qWait(100);
            QVERIFY(!isDiscovering());
            QCOMPARE(rig.state(), T::connecting);
            const QStringList log = m_bluez->call("CallLog").toStringList();
            const qsizetype connect = log.indexOf(u"Connect "_s + StandInBluez::radioA);
            QVERIFY(log.lastIndexOf(QStringLiteral("StopDiscovery")) < connect);
            QVERIFY(log.lastIndexOf(QStringLiteral("StartDiscovery")) < connect);
            return;
        }
        rig.controller->disconnectFromDevice();
        m_bluez->call("SetConnectMode", StandInBluez::radioA, QStringLiteral("succeed"));
        rig.controller->connectToDevice(radio);
        QTRY_VERIFY(rig.inSync());
        QTest::qWait(100);
        QVERIFY(rig.inSync());
        QCOMPARE(m_bluez->deviceCalls(StandInBluez::radioA),
                 (QStringList{u"Connect"_s, u"Disconnect"_s, u"Connect"_s}));
    }

    // A set-up that goes wrong: a radio that drops the link before
    // notifications are on is tried again; one that lacks the service or a
    // characteristic, or refuses notifications, is let go with a text that
    // says so (BlueZ's reason for the refusal).
    void setUpTrouble_data() {
        QTest::addColumn<QVariantMap>("radio");
        QTest::addColumn<QString>("error"); // empty: connected on the retry
        QTest::newRow("dropped before notifications")
            << QVariantMap{{QStringLiteral("dropsAtNotify"), 1}} << QString();
        QTest::newRow("no notify characteristic")
            << QVariantMap{{QStringLiteral("withoutNotify"), true}}
            << BluetoothTransport::characteristicsNotFoundText;
        QTest::newRow("no serial service") << QVariantMap{{QStringLiteral("withoutService"), true}}
                                           << BluetoothTransport::serviceNotFoundText;
        QTest::newRow("notifications refused")
            << QVariantMap{{QStringLiteral("notifyRefusal"),
                            QStringLiteral("Insufficient Resources")}}
            << QStringLiteral("Insufficient Resources");
    }
    void setUpTrouble() {
        QFETCH(QVariantMap, radio);
        QFETCH(QString, error);
        QVERIFY(startBluez());
        m_bluez->configure(StandInBluez::radioA, radio);
        LinkRig rig;
        QVERIFY(rig.chooseRadioA());
        if (error.isEmpty()) {
            QTRY_COMPARE(count("DisconnectCalls") + int(!radioIs("IsConnected")), 1);
            QCOMPARE(rig.state(), T::connecting);
            QVERIFY(rig.waitMoving([&] { return rig.inSync(); }));
            QCOMPARE(connectAttempts(), 2);
            return;
        }
        QTRY_COMPARE(rig.controller->connectionError(), error);
        QCOMPARE(rig.state(), T::disconnected);
        QTRY_VERIFY(!radioIs("IsConnected"));
    }

    // Service Changed while connected: the link stays and rediscovers, and
    // a message sent right then is delivered.
    void servicesChangedWhileConnected() {
        QVERIFY(startBluez());
        LinkRig rig;
        QTRY_COMPARE(rig.state(), T::ready);
        QVERIFY(rig.connectRadioA());
        QSignalSpy states(rig.link.get(), &MeshLink::transportStateChanged);
        m_bluez->call("ChangeServices", StandInBluez::radioA);
        const ConversationID chat =
            ConversationID::contact(rig.controller->contacts().first().publicKey);
        rig.controller->sendMessage(QStringLiteral("After the change"), chat);
        const auto delivered = [&] {
            const auto messages =
                rig.controller->conversations().value(chat.conversationKey()).messages;
            return !messages.isEmpty() &&
                   messages.last().deliveryState == ChatMessage::DeliveryState::delivered;
        };
        QTRY_VERIFY_WITH_TIMEOUT(delivered(), 5000);
        QVERIFY(states.isEmpty());
        QCOMPARE(m_bluez->call("CallLog").toStringList().count(QStringLiteral("StartNotify")), 2);
    }

    // Bluetooth off around an attempt: a radio still listed is not tried
    // (the user reads why), and Bluetooth back on while a retry waits does
    // not bring back the attempt it ended.
    void bluetoothOffAroundAnAttempt() {
        QVERIFY(startBluez());
        m_bluez->call("SetConnectMode", StandInBluez::radioA, QStringLiteral("fail"));
        LinkRig rig;
        QVERIFY(rig.chooseRadioA());
        QTRY_COMPARE(connectAttempts(), 1);
        QTest::qWait(30); // the retry waits on the rig's clock
        m_bluez->call("SetPowered", false);
        QTRY_COMPARE(rig.state(), T::poweredOff);
        m_bluez->call("SetPowered", true);
        QTRY_COMPARE(rig.state(), T::ready);
        rig.clock.advance(BluetoothTransport::retryDelay * 2);
        QTest::qWait(50);
        QCOMPARE(rig.state(), T::ready);
        QCOMPARE(connectAttempts(), 1);

        m_bluez->call("SetPowered", false);
        QTRY_COMPARE(rig.state(), T::poweredOff);
        rig.controller->connectToDevice(*rig.radioA());
        QCOMPARE(rig.controller->connectionError(), BluetoothTransport::bluetoothOffText);
        QCOMPARE(rig.state(), T::poweredOff);
        QCOMPARE(connectAttempts(), 1);
    }

    // The radio lost without a word from it: its device object vanished,
    // the computer slept (the link ends cleanly first, and lets logind go on),
    // the adapter was replaced or switched off. The controller finds it
    // again: after its first pause, or at once when Bluetooth returns.
    void lostAndFoundAgain_data() {
        QTest::addColumn<QString>("how");
        QTest::newRow("device object removed") << "vanish";
        QTest::newRow("sleep") << "sleep";
        QTest::newRow("adapter removed and added") << "adapter";
        QTest::newRow("adapter off and on") << "power";
    }
    void lostAndFoundAgain() {
        QFETCH(QString, how);
        QVERIFY(startBluez());
        LinkRig rig;
        rig.controller->enableAutomaticReconnection();
        QTRY_COMPARE(rig.state(), T::ready);
        QVERIFY(rig.connectRadioA());
        if (how == QLatin1String("vanish")) {
            m_bluez->call("Vanish", StandInBluez::radioA);
        } else if (how == QLatin1String("sleep")) {
            QTRY_COMPARE(m_bluez->call("HeldInhibitors").toInt(), 1);
            m_bluez->call("Sleep", true);
            QTRY_COMPARE(m_bluez->call("HeldInhibitors").toInt(), 0);
            QCOMPARE(count("DisconnectCalls"), 1);
        } else if (how == QLatin1String("power")) {
            m_bluez->call("SetPowered", false);
        } else {
            m_bluez->call("RemoveAdapter");
        }
        QTRY_COMPARE(rig.state(), how == QLatin1String("sleep") ? T::disconnected : rig.state());
        QTRY_VERIFY(rig.state() != T::connected);
        QVERIFY(rig.controller->isReconnecting());
        QVERIFY(!rig.controller->selfInfo());
        QVERIFY(rig.controller->connectionError().isEmpty());
        if (how == QLatin1String("vanish"))
            rig.clock.advance(MeshController::reconnectPause(0));
        else if (how == QLatin1String("sleep"))
            m_bluez->call("Sleep", false);
        else if (how == QLatin1String("power"))
            m_bluez->call("SetPowered", true);
        else
            m_bluez->call("AddAdapter");
        QVERIFY(QTest::qWaitFor(
            [&] {
                rig.clock.settle();
                return rig.inSync();
            },
            5000));
        if (how == QLatin1String("sleep"))
            QTRY_COMPARE(m_bluez->call("HeldInhibitors").toInt(), 1);
    }
};

QTEST_GUILESS_MAIN(TestE2eLink)
#include "test_e2e_link.moc"
