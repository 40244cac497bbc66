// The inspectors: the device pane, and the node detail and chat info pane;
// their texts and symbols, and their view models' actions against the
// simulated radio on virtual time.
#include "advert_sender.h"
#include "device_view_model.h"
#include "logic/device_texts.h"
#include "logic/node_details.h"
#include "node_detail_model.h"
#include "protocol/mesh_protocol.h"
#include "ui_rig.h"

#include <QTest>
#include <QUrlQuery>
#include <QtQml/qqmlextensionplugin.h>

Q_IMPORT_QML_PLUGIN(TalvennePlugin)

using ViewLogic::Tint;

class TestInspectors : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void initTestCase() { QVERIFY(prepareViewTests()); }

    void batterySymbolByPercentage_data() {
        QTest::addColumn<int>("percentage");
        QTest::addColumn<QString>("symbol");
        QTest::addColumn<Tint>("tint");
        QTest::newRow("12") << 12 << u"battery.0percent"_s << Tint::red;
        QTest::newRow("13") << 13 << u"battery.25percent"_s << Tint::red;
        QTest::newRow("19") << 19 << u"battery.25percent"_s << Tint::red;
        QTest::newRow("20") << 20 << u"battery.25percent"_s << Tint::green;
        QTest::newRow("38") << 38 << u"battery.50percent"_s << Tint::green;
        QTest::newRow("87") << 87 << u"battery.75percent"_s << Tint::green;
        QTest::newRow("88") << 88 << u"battery.100percent"_s << Tint::green;
    }
    void batterySymbolByPercentage() {
        QFETCH(int, percentage);
        QFETCH(QString, symbol);
        QFETCH(Tint, tint);
        QCOMPARE(ViewLogic::batterySymbol(percentage), (ViewLogic::BatterySymbol{symbol, tint}));
    }

    void uptime_data() {
        QTest::addColumn<uint>("seconds");
        QTest::addColumn<QString>("text");
        QTest::newRow("59 s") << 59u << u"0m"_s;
        QTest::newRow("1 h 1 m") << 3661u << u"1h 1m"_s;
        QTest::newRow("just under a day") << 86399u << u"23h 59m"_s;
        QTest::newRow("1 d 1 h") << 90061u << u"1d 1h"_s;
    }
    void uptime() {
        QFETCH(uint, seconds);
        QTEST(ViewLogic::uptimeText(seconds), "text");
    }

    // The pane over its view model: the radio's facts and renaming; the
    // power reaches the radio as a whole number, and from the slider once,
    // on release; reboot waits for the confirmation and Cancel sends nothing.
    void paneShowsTheRadioAndActsOnIt() {
        UiRig rig;
        QVERIFY(rig.connect());
        auto view = loadTalvenneView(u"DeviceView.qml"_s, {}, rig.controller.get(), {360, 1000});
        QVERIFY(view);
        auto* device = view->rootObject()->findChild<DeviceViewModel*>(u"deviceModel"_s);
        QVERIFY(device);
        rig.clock.advance(2s); // the appearance reads statistics and battery
        QVERIFY(device->hasSelfInfo());
        QCOMPARE(device->publicKeyPrefix().size(), 16);
        QVERIFY(rig.controller->selfInfo()->publicKey.startsWith(device->publicKeyPrefix()));
        QVERIFY(!device->statistics().isEmpty());
        QVERIFY(device->voltageText().startsWith(u'('));

        // Renaming: the editor opens on the current name, saving closes it.
        device->editName();
        QVERIFY(device->editingName());
        QCOMPARE(device->property("nameDraft").toString(), device->name());
        device->setProperty("nameDraft", QString());
        QVERIFY(!device->canSaveName());
        device->setProperty("nameDraft", u"Ridge Base"_s);
        device->saveName();
        QVERIFY(device->busy());
        rig.clock.advance(2s);
        QVERIFY(!device->editingName() && !device->busy());
        QCOMPARE(device->name(), u"Ridge Base"_s);

        device->setProperty("txPower", 7.8);
        QCOMPARE(device->txPowerText(), u"7 dBm"_s);
        rig.clock.advance(1s);
        QVERIFY(rig.controller->selfInfo()->txPower != 7);
        device->commitTxPower();
        rig.clock.advance(2s);
        QCOMPARE(rig.controller->selfInfo()->txPower, 7);
        rig.radio.clearWrittenFrames();

        auto* slider = findItem(*view, "txPowerSlider");
        QVERIFY(slider && slider->isVisible());
        const double maximum = slider->property("to").toDouble();
        QVERIFY(maximum > 10);
        const auto at = [&](double dBm) {
            const double x = slider->property("leftPadding").toDouble() +
                             dBm / maximum * slider->property("availableWidth").toDouble();
            return slider->mapToScene({x, slider->height() / 2}).toPoint();
        };
        QTest::mousePress(view.get(), Qt::LeftButton, {}, at(slider->property("value").toDouble()));
        for (double dBm : {8.0, 5.0, 3.0}) {
            QTest::mouseMove(view.get(), at(dBm));
            rig.clock.advance(100ms);
        }
        QVERIFY(rig.radio.writtenFrames().isEmpty());
        QTest::mouseRelease(view.get(), Qt::LeftButton, {}, at(3));
        rig.clock.advance(1s);
        QCOMPARE(rig.radio.writtenFrames().value(0), MeshProtocol::setTxPower(3));
        QCOMPARE(rig.controller->selfInfo()->txPower, 3);

        QObject* dialog = view->rootObject()->findChild<QObject*>(u"rebootDialog"_s);
        QVERIFY(dialog);
        rig.radio.clearWrittenFrames();
        QMetaObject::invokeMethod(findItem(*view, "rebootButton"), "clicked");
        QTRY_VERIFY(dialog->property("opened").toBool());
        QVERIFY(rig.radio.writtenFrames().isEmpty());
        QMetaObject::invokeMethod(dialog->findChild<QObject*>(u"rebootCancel"_s), "clicked");
        QTRY_VERIFY(!dialog->property("visible").toBool());
        rig.clock.advance(1s);
        QVERIFY(rig.radio.writtenFrames().isEmpty());

        // The radio has been up a while; after its reboot the pane reads
        // the new counts by itself once the radio is back.
        const auto uptime = [&] {
            for (const QVariant& row : device->statistics()) {
                if (row.toMap().value(u"label"_s) == qtTrId("device.field.uptime"))
                    return row.toMap().value(u"value"_s).toString();
            }
            return QString();
        };
        rig.clock.advance(20min);
        device->refresh();
        rig.clock.advance(1s);
        QCOMPARE(uptime(), u"20m"_s);
        rig.controller->enableAutomaticReconnection();
        QMetaObject::invokeMethod(findItem(*view, "rebootButton"), "clicked");
        QTRY_VERIFY(dialog->property("opened").toBool());
        QMetaObject::invokeMethod(dialog->findChild<QObject*>(u"rebootConfirm"_s), "clicked");
        rig.clock.advance(1s);
        QVERIFY(rig.radio.writtenFrames().contains(MeshProtocol::reboot()));
        QTRY_VERIFY(rig.controller->transportState() != TransportState::connected);
        for (int i = 0; i < 10 && rig.controller->transportState() != TransportState::connected;
             ++i)
            rig.clock.advance(1s);
        rig.clock.advance(3s);
        QCOMPARE(rig.controller->transportState(), TransportState::connected);
        QCOMPARE(uptime(), u"0m"_s);
    }

    // Each press ends its own "sent" two seconds after it; a sender that goes
    // away with ends still to come leaves nothing behind on the clock.
    void advertPressesEndOnTheirOwn() {
        UiRig rig;
        QVERIFY(rig.connect());
        auto advert = std::make_unique<AdvertSender>();
        advert->setController(rig.controller.get());
        advert->send();
        rig.clock.advance(1s);
        QVERIFY(advert->sent());
        QCOMPARE(rig.radio.writtenFrames().value(0), MeshProtocol::sendSelfAdvert(1));
        advert->send();
        rig.clock.advance(1100ms); // the first press's two seconds are over
        QVERIFY(!advert->sent());
        QCOMPARE(rig.radio.writtenFrames().size(), 2);

        advert->send();
        rig.clock.advance(500ms);
        QVERIFY(advert->sent());
        const int pending = rig.clock.pendingTimers(); // the second and third ends among them
        advert.reset();
        QCOMPARE(rig.clock.pendingTimers(), pending - 2);
    }

    void routingAndPathLength_data() {
        QTest::addColumn<int>("outPathLength");
        QTest::addColumn<QByteArray>("routingKey");
        QTest::addColumn<Tint>("tint");
        QTest::addColumn<QString>("pathText");
        QTest::newRow("no path") << -1 << QByteArray("node.detail.routing.flood") << Tint::orange
                                 << QString();
        QTest::newRow("neighbour")
            << 0 << QByteArray("node.detail.routing.direct") << Tint::green << u"0 hops"_s;
        QTest::newRow("one hop") << 1 << QByteArray("node.detail.routing.direct") << Tint::green
                                 << u"1 hop"_s;
    }
    void routingAndPathLength() {
        QFETCH(int, outPathLength);
        QFETCH(Tint, tint);
        QFETCH(QString, pathText);
        const ViewLogic::RoutingRow row = ViewLogic::routingRow(outPathLength);
        QTEST(row.valueKey, "routingKey");
        QCOMPARE(row.tint, tint);
        if (!pathText.isEmpty())
            QCOMPARE(ViewLogic::pathLengthText(outPathLength), pathText);
    }

    void position_data() {
        QTest::addColumn<double>("latitude");
        QTest::addColumn<double>("longitude");
        QTest::addColumn<bool>("has");
        QTest::addColumn<QString>("text");
        QTest::newRow("both zero") << 0.0 << 0.0 << false << QString();
        QTest::newRow("only latitude zero") << 0.0 << 24.5 << true << u"0.00000° N, 24.50000° E"_s;
        QTest::newRow("south west") << -33.8688 << -70.25 << true << u"33.86880° S, 70.25000° W"_s;
    }
    void position() {
        QFETCH(double, latitude);
        QFETCH(double, longitude);
        QFETCH(bool, has);
        QCOMPARE(ViewLogic::hasPosition(latitude, longitude), has);
        if (!has)
            return;
        QTEST(ViewLogic::coordinateText(latitude, longitude), "text");
        const QUrl url = ViewLogic::mapUrl(latitude, longitude);
        QCOMPARE(url.host(), u"www.openstreetmap.org"_s);
        const QUrlQuery query(url);
        QCOMPARE(query.queryItemValue(u"mlat"_s).toDouble(), latitude);
        QCOMPARE(query.queryItemValue(u"mlon"_s).toDouble(), longitude);
    }

    // The model follows its node: favourite, actions and their errors, and
    // the verification of a key against a twin of the same name.
    void followsTheContactAndActsOnIt() {
        UiRig rig;
        const QString twinKey = u"b7e0c2d95a13"_s + QString(52, u'9');
        rig.radio.addContact(chatContact(twinKey, u"AINO VIRTANEN"_s));
        QVERIFY(rig.connect());
        Bound<NodeDetailModel> node(rig.controller);
        node.setPublicKey(rig.contactNamed(u"Ridge Repeater"_s)->publicKey);
        QVERIFY(node.exists());
        QVERIFY(node.hasPosition());
        QVERIFY(!node.canMessage());
        node.setPublicKey(rig.contactNamed(u"Harbour Room"_s)->publicKey);
        QVERIFY(node.canMessage());
        node.toggleFavorite();
        QVERIFY(node.isFavorite());
        node.toggleFavorite();
        QVERIFY(!node.isFavorite());

        // A failed action shows its error and leaves the node idle again.
        rig.radio.failNextAnyCommand(MeshProtocol::DeviceError::notFound);
        node.share();
        QVERIFY(node.busy());
        rig.clock.advance(1s);
        QVERIFY(!node.busy());
        QVERIFY(!node.actionError().isEmpty());
        node.resetPath();
        QVERIFY(node.actionError().isEmpty()); // a new action clears it
        rig.clock.advance(1s);
        QVERIFY(node.actionError().isEmpty());
        node.remove();
        rig.clock.advance(2s);
        QVERIFY(!node.exists());

        Bound<NodeDetailModel> original(rig.controller);
        original.setProperty("inspector", true);
        original.setPublicKey(rig.contactNamed(u"Aino Virtanen"_s)->publicKey);
        Bound<NodeDetailModel> twin(rig.controller);
        twin.setPublicKey(twinKey);
        QVERIFY(!original.isMismatch());
        QCOMPARE(original.verificationSymbol(), u"shield.lefthalf.filled"_s);
        QCOMPARE(original.verifyButtonText(), qtTrId("inspector.chat.info.verify"));
        original.toggleVerified();
        QCOMPARE(original.verificationSymbol(), u"checkmark.seal.fill"_s);
        QCOMPARE(original.verifyButtonText(), qtTrId("inspector.chat.info.unverify"));
        QVERIFY(twin.isMismatch());
        QCOMPARE(twin.verificationSymbol(), u"exclamationmark.shield.fill"_s);
        QCOMPARE(twin.verifyButtonTint(), u"red"_s);
        twin.toggleVerified(); // verified wins over the conflict
        QVERIFY(!twin.isMismatch());
        QCOMPARE(twin.verificationSymbol(), u"checkmark.seal.fill"_s);
        twin.toggleVerified();
        original.toggleVerified();
        QVERIFY(!twin.isMismatch());
    }
};

QTEST_MAIN(TestInspectors)
#include "test_inspectors.moc"
