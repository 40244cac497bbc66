// The node detail and chat info pane: their facts and the view model's
// actions, favourite and verification against the simulated radio.
#include "logic/node_details.h"
#include "node_detail_model.h"
#include "translations.h"
#include "ui_rig.h"

#include <QSignalSpy>
#include <QTest>
#include <QUrlQuery>

using namespace std::chrono_literals;
using ViewLogic::Tint;
using ViewLogic::Verification;

class TestNodeDetails : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void initTestCase() {
        TestSupport::isolateFromUserFiles();
        QVERIFY(installTranslations(*QCoreApplication::instance()));
    }

    void routingAndPathLength_data() {
        QTest::addColumn<int>("outPathLength");
        QTest::addColumn<QByteArray>("routingKey");
        QTest::addColumn<Tint>("tint");
        QTest::addColumn<QString>("pathText");
        QTest::newRow("no path") << -1 << QByteArray("node.detail.routing.flood") << Tint::orange
                                 << QString();
        QTest::newRow("neighbour") << 0 << QByteArray("node.detail.routing.direct") << Tint::green
                                   << QStringLiteral("0 hops");
        QTest::newRow("one hop") << 1 << QByteArray("node.detail.routing.direct") << Tint::green
                                 << QStringLiteral("1 hop");
        QTest::newRow("three hops") << 3 << QByteArray("node.detail.routing.direct") << Tint::green
                                    << QStringLiteral("3 hops");
    }
    void routingAndPathLength() {
        QFETCH(int, outPathLength);
        QFETCH(QByteArray, routingKey);
        QFETCH(Tint, tint);
        QFETCH(QString, pathText);
        const ViewLogic::RoutingRow row = ViewLogic::routingRow(outPathLength);
        QCOMPARE(row.valueKey, routingKey);
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
        QTest::newRow("only latitude zero")
            << 0.0 << 24.5 << true << QStringLiteral("0.00000° N, 24.50000° E");
        QTest::newRow("south west")
            << -33.8688 << -70.25 << true << QStringLiteral("33.86880° S, 70.25000° W");
    }
    void position() {
        QFETCH(double, latitude);
        QFETCH(double, longitude);
        QFETCH(bool, has);
        QFETCH(QString, text);
        QCOMPARE(ViewLogic::hasPosition(latitude, longitude), has);
        if (!has)
            return;
        QCOMPARE(ViewLogic::coordinateText(latitude, longitude), text);
        const QUrl url = ViewLogic::mapUrl(latitude, longitude);
        QCOMPARE(url.host(), QStringLiteral("www.openstreetmap.org"));
        const QUrlQuery query(url);
        QCOMPARE(query.queryItemValue(QStringLiteral("mlat")).toDouble(), latitude);
        QCOMPARE(query.queryItemValue(QStringLiteral("mlon")).toDouble(), longitude);
    }

    void verificationStates_data() {
        QTest::addColumn<bool>("verified");
        QTest::addColumn<bool>("conflict");
        QTest::addColumn<Verification>("state");
        QTest::addColumn<QString>("symbol");
        QTest::addColumn<QByteArray>("buttonKey");
        QTest::newRow("verified") << true << false << Verification::verified
                                  << QStringLiteral("checkmark.seal.fill")
                                  << QByteArray("inspector.chat.info.unverify");
        QTest::newRow("verified wins over a conflict")
            << true << true << Verification::verified << QStringLiteral("checkmark.seal.fill")
            << QByteArray("inspector.chat.info.unverify");
        QTest::newRow("mismatch") << false << true << Verification::mismatch
                                  << QStringLiteral("exclamationmark.shield.fill")
                                  << QByteArray("inspector.chat.info.verify");
        QTest::newRow("not verified")
            << false << false << Verification::notVerified
            << QStringLiteral("shield.lefthalf.filled") << QByteArray("inspector.chat.info.verify");
    }
    void verificationStates() {
        QFETCH(bool, verified);
        QFETCH(bool, conflict);
        QFETCH(Verification, state);
        QFETCH(QString, symbol);
        QFETCH(QByteArray, buttonKey);
        QCOMPARE(ViewLogic::verificationState(verified, conflict), state);
        QCOMPARE(ViewLogic::verificationLook(state).symbol, symbol);
        QCOMPARE(ViewLogic::verificationLook(state).buttonKey, buttonKey);
    }

    void followsTheContactAndActsOnIt() {
        UiRig rig;
        QVERIFY(rig.connect());
        const auto repeater = rig.contactNamed(QStringLiteral("Ridge Repeater"));
        const auto room = rig.contactNamed(QStringLiteral("Harbour Room"));
        QVERIFY(repeater && room);
        NodeDetailModel node;
        node.setController(rig.controller.get());
        node.setPublicKey(repeater->publicKey);
        QVERIFY(node.exists());
        QVERIFY(node.hasPosition());
        QVERIFY(!node.canMessage());
        node.setPublicKey(room->publicKey);
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
    }

    void verificationFollowsTheController() {
        UiRig rig;
        QVERIFY(rig.connect());
        const auto aino = rig.contactNamed(QStringLiteral("Aino Virtanen"));
        QVERIFY(aino);
        Contact twin = *aino;
        twin.publicKey = QStringLiteral("b7e0c2d95a13") + QString(52, QLatin1Char('9'));
        twin.name = QStringLiteral("AINO VIRTANEN");
        rig.radio.addContact(twin);
        rig.controller->disconnectFromDevice();
        QVERIFY(rig.connect());

        NodeDetailModel original;
        original.setProperty("inspector", true);
        original.setController(rig.controller.get());
        original.setPublicKey(aino->publicKey);
        NodeDetailModel other;
        other.setController(rig.controller.get());
        other.setPublicKey(twin.publicKey);
        QVERIFY(!original.isMismatch());
        QCOMPARE(original.verificationSymbol(), QStringLiteral("shield.lefthalf.filled"));

        original.toggleVerified();
        QCOMPARE(original.verificationSymbol(), QStringLiteral("checkmark.seal.fill"));
        QVERIFY(other.isMismatch());
        QCOMPARE(other.verifyButtonTint(), QStringLiteral("red"));
        original.toggleVerified();
        QVERIFY(!other.isMismatch());
    }
};

QTEST_GUILESS_MAIN(TestNodeDetails)
#include "test_node_details.moc"
