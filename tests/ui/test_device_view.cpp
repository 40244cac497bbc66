// The device pane: its texts and symbols, and its view model against the
// simulated radio on virtual time.
#include "advert_sender.h"
#include "device_view_model.h"
#include "logic/device_texts.h"
#include "protocol/mesh_protocol.h"
#include "translations.h"
#include "ui_rig.h"

#include <QQuickStyle>
#include <QSignalSpy>
#include <QTest>
#include <QtQml/qqmlextensionplugin.h>

Q_IMPORT_QML_PLUGIN(TalvennePlugin)

using namespace std::chrono_literals;
using ViewLogic::Tint;

class TestDeviceView : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void initTestCase() {
        TestSupport::isolateFromUserFiles();
        QVERIFY(installTranslations(*QCoreApplication::instance()));
        QQuickStyle::setStyle(QStringLiteral("Fusion"));
    }

    void batterySymbolByPercentage_data() {
        QTest::addColumn<int>("percentage");
        QTest::addColumn<QString>("symbol");
        QTest::addColumn<Tint>("tint");
        QTest::newRow("12") << 12 << QStringLiteral("battery.0percent") << Tint::red;
        QTest::newRow("13") << 13 << QStringLiteral("battery.25percent") << Tint::red;
        QTest::newRow("19") << 19 << QStringLiteral("battery.25percent") << Tint::red;
        QTest::newRow("20") << 20 << QStringLiteral("battery.25percent") << Tint::green;
        QTest::newRow("38") << 38 << QStringLiteral("battery.50percent") << Tint::green;
        QTest::newRow("87") << 87 << QStringLiteral("battery.75percent") << Tint::green;
        QTest::newRow("88") << 88 << QStringLiteral("battery.100percent") << Tint::green;
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
        QTest::newRow("59 s") << 59u << QStringLiteral("0m");
        QTest::newRow("1 h 1 m") << 3661u << QStringLiteral("1h 1m");
        QTest::newRow("just under a day") << 86399u << QStringLiteral("23h 59m");
        QTest::newRow("1 d 1 h") << 90061u << QStringLiteral("1d 1h");
    }
    void uptime() {
        QFETCH(uint, seconds);
        QFETCH(QString, text);
        QCOMPARE(ViewLogic::uptimeText(seconds), text);
    }

    void statisticsShowOnlyWhatIsPresent() {
        DeviceStats core, radio, packets;
        QVERIFY(ViewLogic::statisticRows(core, radio, packets).isEmpty());
        radio.lastSNR = 6.24;
        core.uptimeSeconds = 3661;
        packets.packetsSent = 0;
        const QList<ViewLogic::StatisticRow> expected{
            {"device.field.last.snr", QStringLiteral("6.2 dB")},
            {"device.field.packets.sent", QStringLiteral("0")},
            {"device.field.uptime", QStringLiteral("1h 1m")},
        };
        QCOMPARE(ViewLogic::statisticRows(core, radio, packets), expected);
    }

    void showsTheRadioAndActsOnIt() {
        UiRig rig;
        QVERIFY(rig.connect());
        DeviceViewModel device;
        device.setController(rig.controller.get());
        rig.clock.advance(2s); // the appearance reads statistics and battery
        QVERIFY(device.hasSelfInfo());
        QCOMPARE(device.publicKeyPrefix().size(), 16);
        QVERIFY(rig.controller->selfInfo()->publicKey.startsWith(device.publicKeyPrefix()));
        QVERIFY(!device.statistics().isEmpty());
        QCOMPARE(device.property("txPower").toDouble(),
                 double(rig.controller->selfInfo()->txPower));
        QVERIFY(device.voltageText().startsWith(QLatin1Char('(')));

        // Renaming: the editor opens on the current name, saving closes it.
        device.editName();
        QVERIFY(device.editingName());
        QCOMPARE(device.property("nameDraft").toString(), device.name());
        device.setProperty("nameDraft", QString());
        QVERIFY(!device.canSaveName());
        device.setProperty("nameDraft", QStringLiteral("Ridge Base"));
        device.saveName();
        QVERIFY(device.busy());
        rig.clock.advance(2s);
        QVERIFY(!device.editingName() && !device.busy());
        QCOMPARE(device.name(), QStringLiteral("Ridge Base"));

        // The slider reaches the radio only when committed, as a whole number.
        device.setProperty("txPower", 7.8);
        QCOMPARE(device.txPowerText(), QStringLiteral("7 dBm"));
        rig.clock.advance(1s);
        QVERIFY(rig.controller->selfInfo()->txPower != 7);
        device.commitTxPower();
        rig.clock.advance(2s);
        QCOMPARE(rig.controller->selfInfo()->txPower, 7);
    }

    // The pane itself: a drag of the power slider reaches the radio once, on
    // release; reboot waits for the confirmation and Cancel sends nothing.
    void paneSendsOnReleaseAndConfirmation() {
        UiRig rig;
        QVERIFY(rig.connect());
        auto view = loadTalvenneView(
            QStringLiteral("DeviceView.qml"),
            {{QStringLiteral("controller"), QVariant::fromValue(rig.controller.get())}},
            {360, 1000});
        QVERIFY2(view->rootObject(), qPrintable(view->errors().value(0).toString()));
        view->show();
        QVERIFY(QTest::qWaitForWindowExposed(view.get()));
        rig.clock.advance(2s);
        rig.radio.clearWrittenFrames();

        auto* slider = findItem(*view, "txPowerSlider");
        QVERIFY(slider && slider->isVisible());
        const double maximum = slider->property("to").toDouble();
        QVERIFY(maximum > 10);
        const int y = int(slider->height() / 2);
        const auto xAt = [&](double dBm) {
            return int(slider->property("leftPadding").toDouble() +
                       dBm / maximum * slider->property("availableWidth").toDouble());
        };
        const QPoint handle =
            slider->mapToScene({qreal(xAt(slider->property("value").toDouble())), qreal(y)})
                .toPoint();
        QTest::mousePress(view.get(), Qt::LeftButton, {}, handle);
        for (double dBm : {8.0, 5.0, 3.0}) {
            QTest::mouseMove(view.get(), slider->mapToScene({qreal(xAt(dBm)), qreal(y)}).toPoint());
            rig.clock.advance(100ms);
        }
        QVERIFY(rig.radio.writtenFrames().isEmpty());
        QTest::mouseRelease(view.get(), Qt::LeftButton, {},
                            slider->mapToScene({qreal(xAt(3)), qreal(y)}).toPoint());
        rig.clock.advance(1s);
        QCOMPARE(rig.radio.writtenFrames().value(0), MeshProtocol::setTxPower(3));
        QCOMPARE(rig.controller->selfInfo()->txPower, 3);

        QObject* dialog = view->rootObject()->findChild<QObject*>(QStringLiteral("rebootDialog"));
        QVERIFY(dialog);
        rig.radio.clearWrittenFrames();
        QMetaObject::invokeMethod(findItem(*view, "rebootButton"), "clicked");
        QTRY_VERIFY(dialog->property("opened").toBool());
        QVERIFY(rig.radio.writtenFrames().isEmpty());
        QMetaObject::invokeMethod(dialog->findChild<QObject*>(QStringLiteral("rebootCancel")),
                                  "clicked");
        QTRY_VERIFY(!dialog->property("visible").toBool());
        rig.clock.advance(1s);
        QVERIFY(rig.radio.writtenFrames().isEmpty());

        QMetaObject::invokeMethod(findItem(*view, "rebootButton"), "clicked");
        QTRY_VERIFY(dialog->property("opened").toBool());
        QMetaObject::invokeMethod(dialog->findChild<QObject*>(QStringLiteral("rebootConfirm")),
                                  "clicked");
        rig.clock.advance(1s);
        QVERIFY(rig.radio.writtenFrames().contains(MeshProtocol::reboot()));
    }

    void advertShowsSentForTwoSecondsEvenWithoutARadio() {
        UiRig rig; // never connected: the advert fails quietly
        AdvertSender advert;
        advert.setController(rig.controller.get());
        advert.setKind(0);
        QSignalSpy sentChanges(&advert, &AdvertSender::sentChanged);
        advert.send();
        rig.clock.advance(10ms);
        QVERIFY(advert.sent());
        rig.clock.advance(1900ms);
        QVERIFY(advert.sent());
        rig.clock.advance(200ms);
        QVERIFY(!advert.sent());
        QCOMPARE(sentChanges.size(), 2);
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
};

QTEST_MAIN(TestDeviceView)
#include "test_device_view.moc"
