#include "ui/logic/avatar_gradient.h"
#include "ui/logic/connection_texts.h"
#include "ui/logic/signal_bars.h"
#include "ui/translations.h"

#include <QCoreApplication>
#include <QSet>
#include <QTest>

using namespace ViewLogic;

Q_DECLARE_METATYPE(ViewLogic::Tint)
Q_DECLARE_METATYPE(std::optional<QString>)

class TestSharedComponents : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void initTestCase() { QVERIFY(installTranslations(*QCoreApplication::instance())); }

    void signalLevel_data() {
        QTest::addColumn<int>("rssi");
        QTest::addColumn<int>("bars");
        QTest::addColumn<Tint>("tint");
        QTest::newRow("-96") << -96 << 1 << Tint::red;
        QTest::newRow("-95") << -95 << 2 << Tint::orange;
        QTest::newRow("-81") << -81 << 2 << Tint::orange;
        QTest::newRow("-80") << -80 << 3 << Tint::yellow;
        QTest::newRow("-70") << -70 << 3 << Tint::yellow;
        QTest::newRow("-66") << -66 << 3 << Tint::yellow;
        QTest::newRow("-65") << -65 << 4 << Tint::green;
        QTest::newRow("0") << 0 << 4 << Tint::green;
    }

    void signalLevel() {
        QFETCH(int, rssi);
        QFETCH(int, bars);
        QFETCH(Tint, tint);
        QCOMPARE(ViewLogic::signalLevel(rssi), (SignalLevel{bars, tint}));
    }

    void avatarGradientIsStableAndSpread() {
        QSet<int> seen;
        for (int i = 0; i < 200; ++i) {
            const QString seed = QStringLiteral("channel") + QString::number(i);
            const int index = avatarGradientIndex(seed);
            QVERIFY(index >= 0 && index < avatarGradientCount);
            QCOMPARE(avatarGradientIndex(seed), index);
            QCOMPARE(avatarGradient(seed), avatarGradientAt(index));
            seen.insert(index);
        }
        QCOMPARE(seen.size(), avatarGradientCount);
        QCOMPARE(avatarGradientAt(0).first, QColor::fromRgbF(0.36f, 0.82f, 0.55f));
        QCOMPARE(avatarGradientAt(6).second, QColor::fromRgbF(0.45f, 0.4f, 0.95f));
    }

    void batteryLine_data() {
        QTest::addColumn<int>("milliVolts");
        QTest::addColumn<std::optional<QString>>("line");
        QTest::newRow("0 mV") << 0 << std::optional<QString>();
        QTest::newRow("4000 mV") << 4000
                                 << std::optional<QString>(QStringLiteral("77% \u00B7 4.00V"));
        QTest::newRow("3000 mV") << 3000
                                 << std::optional<QString>(QStringLiteral("0% \u00B7 3.00V"));
        QTest::newRow("4235 mV") << 4235
                                 << std::optional<QString>(QStringLiteral("100% \u00B7 4.24V"));
    }

    void batteryLine() {
        QFETCH(int, milliVolts);
        QFETCH(std::optional<QString>, line);
        QCOMPARE(ViewLogic::batteryLine(BatteryInfo{milliVolts, {}, {}}), line);
    }

    void pill() {
        QCOMPARE(pillTitle(std::nullopt), QStringLiteral("Talvenne"));
        SelfInfo self;
        self.name = QStringLiteral("Base");
        QCOMPARE(pillTitle(self), QStringLiteral("Base"));

        const BatteryInfo battery{4000, {}, {}};
        QCOMPARE(pillSecondLine(true, battery)->key, QByteArray("main.connection.syncing"));
        QCOMPARE(pillSecondLine(false, battery)->text(), QStringLiteral("77% \u00B7 4.00V"));
        QVERIFY(!pillSecondLine(false, BatteryInfo{}));
        QVERIFY(!pillSecondLine(false, std::nullopt));
        QCOMPARE(pillDotTint(TransportState::connected), Tint::green);
        QCOMPARE(pillDotTint(TransportState::connecting), Tint::orange);
    }

    void connectionView_data() {
        QTest::addColumn<TransportState>("state");
        QTest::addColumn<QByteArray>("status");
        QTest::addColumn<bool>("stops");
        QTest::addColumn<bool>("enabled");
        QTest::addColumn<bool>("autoScan");
        QTest::newRow("poweredOff")
            << TransportState::poweredOff << QByteArray("connection.empty.powered.off") << false
            << false << false;
        QTest::newRow("unauthorized")
            << TransportState::unauthorized << QByteArray("connection.empty.unauthorized") << false
            << false << false;
        QTest::newRow("ready") << TransportState::ready << QByteArray("connection.empty.preparing")
                               << false << true << true;
        QTest::newRow("scanning") << TransportState::scanning
                                  << QByteArray("connection.empty.scanning") << true << true
                                  << false;
        QTest::newRow("connecting")
            << TransportState::connecting << QByteArray("connection.empty.connecting") << false
            << true << false;
        QTest::newRow("connected")
            << TransportState::connected << QByteArray("connection.empty.preparing") << false
            << true << false;
        QTest::newRow("disconnected")
            << TransportState::disconnected << QByteArray("connection.empty.preparing") << false
            << true << false;
    }

    void connectionView() {
        QFETCH(TransportState, state);
        QFETCH(QByteArray, status);
        QFETCH(bool, stops);
        QFETCH(bool, enabled);
        QFETCH(bool, autoScan);
        QCOMPARE(QByteArray(connectionStatusKey(state)), status);
        QVERIFY(qtTrId(status.constData()) != QString::fromLatin1(status));
        QCOMPARE(scanButtonStops(state), stops);
        QCOMPARE(scanButtonEnabled(state), enabled);
        QCOMPARE(shouldStartScan(state, 0), autoScan);
        QVERIFY(!shouldStartScan(state, 1));
    }

    void rssiText() { QCOMPARE(ViewLogic::rssiText(-70), QStringLiteral("-70 dBm")); }
};

QTEST_GUILESS_MAIN(TestSharedComponents)
#include "test_shared_components.moc"
