#include "ui/logic/delivery_report.h"
#include "ui/translations.h"

#include <QCoreApplication>
#include <QTest>

using namespace ViewLogic;
using State = ChatMessage::DeliveryState;

Q_DECLARE_METATYPE(ViewLogic::Tint)
Q_DECLARE_METATYPE(ChatMessage::DeliveryState)

namespace {

ChatMessage outgoing(State state) {
    ChatMessage message;
    message.direction = ChatMessage::Direction::outgoing;
    message.text = QStringLiteral("hi");
    message.deliveryState = state;
    message.timestamp = QDateTime(QDate(2024, 2, 3), QTime(14, 5, 9));
    return message;
}

QStringList symbols(const QList<ReportLine>& lines) {
    QStringList result;
    for (const ReportLine& line : lines)
        result << line.symbol;
    return result;
}

} // namespace

class TestDeliveryReport : public QObject {
    Q_OBJECT

    const QLocale english{QLocale::English, QLocale::UnitedKingdom};

private Q_SLOTS:
    void initTestCase() { QVERIFY(installTranslations(*QCoreApplication::instance())); }

    void snrTint_data() {
        QTest::addColumn<double>("snr");
        QTest::addColumn<Tint>("tint");
        QTest::newRow("-5.1") << -5.1 << Tint::red;
        QTest::newRow("-5") << -5.0 << Tint::orange;
        QTest::newRow("4.75") << 4.75 << Tint::orange;
        QTest::newRow("5") << 5.0 << Tint::green;
    }

    void snrTint() {
        QFETCH(double, snr);
        QFETCH(Tint, tint);
        QCOMPARE(ViewLogic::snrTint(snr), tint);
    }

    void reportLineOrder_data() {
        QTest::addColumn<ChatMessage>("message");
        QTest::addColumn<QStringList>("symbols");

        ChatMessage bare = outgoing(State::sending);
        QTest::newRow("nothing optional") << bare << QStringList{"clock", "calendar"};

        ChatMessage full = outgoing(State::sent);
        full.hopCount = 0;
        full.roundTripMillis = 1234;
        full.snr = 6.25;
        full.estimatedTimeoutMillis = 9000;
        QTest::newRow("sent with everything")
            << full << QStringList{"checkmark", "arrow.up.right",
                                   "timer",     "antenna.radiowaves.left.and.right",
                                   "hourglass", "calendar"};

        ChatMessage delivered = full;
        delivered.deliveryState = State::delivered;
        delivered.hopCount = 3;
        QTest::newRow("timeout only while sent")
            << delivered
            << QStringList{"checkmark.circle.fill", "arrow.triangle.swap", "timer",
                           "antenna.radiowaves.left.and.right", "calendar"};

        ChatMessage failed = outgoing(State::failed);
        failed.hopCount = 1;
        QTest::newRow("failed, one hop")
            << failed
            << QStringList{"exclamationmark.triangle.fill", "arrow.triangle.swap", "calendar"};
    }

    void reportLineOrder() {
        QFETCH(ChatMessage, message);
        QFETCH(QStringList, symbols);
        QCOMPARE(::symbols(reportLines(message, english)), symbols);
    }

    void reportLineTexts() {
        ChatMessage message = outgoing(State::sent);
        message.hopCount = 2;
        message.roundTripMillis = 1260;
        message.snr = -7.25;
        message.estimatedTimeoutMillis = 12000;
        const QList<ReportLine> lines = reportLines(message, english);
        QCOMPARE(lines.size(), 6);

        QCOMPARE(lines[0].text.key, QByteArray("chat.message.delivery.sent"));
        QCOMPARE(lines[0].tint, Tint::secondary);
        QCOMPARE(lines[1].text, LocalizedText::fromKey("chat.message.delivery.relayed.plural",
                                                       {QStringLiteral("2")}));
        QCOMPARE(lines[1].text.text(), QStringLiteral("Relayed over 2 hops"));
        QCOMPARE(lines[2].text.text(), QStringLiteral("Round trip 1.3 s"));
        QCOMPARE(lines[3].text.text(), QStringLiteral("Signal-to-noise -7.25 dB"));
        QCOMPARE(lines[3].tint, Tint::red);
        QCOMPARE(lines[4].text.text(), QStringLiteral("Expected within 12.0 s"));
        QVERIFY(lines[5].text.isLiteral());
        QCOMPARE(lines[5].text.text(), QStringLiteral("3 Feb 2024 14:05:09"));
    }

    void singleHopUsesSingularKey() {
        ChatMessage message = outgoing(State::delivered);
        message.hopCount = 1;
        const QList<ReportLine> lines = reportLines(message, english);
        QCOMPARE(lines[0].tint, Tint::green);
        QCOMPARE(lines[1].text.key, QByteArray("chat.message.delivery.relayed"));
        QCOMPARE(lines[1].text.text(), QStringLiteral("Relayed over 1 hop"));
    }

    void footerOfOutgoing_data() {
        QTest::addColumn<State>("state");
        QTest::addColumn<QString>("symbol");
        QTest::addColumn<Tint>("tint");
        QTest::newRow("sending") << State::sending << QStringLiteral("clock") << Tint::secondary;
        QTest::newRow("sent") << State::sent << QStringLiteral("checkmark") << Tint::secondary;
        QTest::newRow("delivered")
            << State::delivered << QStringLiteral("checkmark.circle.fill") << Tint::green;
        QTest::newRow("failed") << State::failed << QStringLiteral("exclamationmark.triangle.fill")
                                << Tint::red;
    }

    void footerOfOutgoing() {
        QFETCH(State, state);
        QFETCH(QString, symbol);
        QFETCH(Tint, tint);
        ChatMessage message = outgoing(state);
        message.hopCount = 0;
        message.roundTripMillis = 2340;
        message.snr = 5;
        const BubbleFooter footer = bubbleFooter(message, english);
        QCOMPARE(footer.time, QStringLiteral("14:05"));
        QCOMPARE(footer.snr, QStringLiteral("\u00B7 5 dB"));
        QCOMPARE(footer.snrTint, Tint::green);
        QVERIFY(footer.outgoing);
        // The footer shows the hop count even for a direct delivery.
        QCOMPARE(footer.hops, QStringLiteral("0"));
        QCOMPARE(footer.roundTrip, QStringLiteral("\u00B7 2.3s"));
        QCOMPARE(footer.stateSymbol, symbol);
        QCOMPARE(footer.stateTint, tint);
    }

    void footerOfIncomingHasNoDeliveryParts() {
        ChatMessage message = outgoing(State::delivered);
        message.direction = ChatMessage::Direction::incoming;
        message.hopCount = 2;
        message.roundTripMillis = 100;
        const BubbleFooter footer = bubbleFooter(message, english);
        QVERIFY(!footer.outgoing);
        QVERIFY(!footer.snr);
        QVERIFY(!footer.hops);
        QVERIFY(!footer.roundTrip);
        QVERIFY(footer.stateSymbol.isEmpty());
    }

    void reportToggle() {
        QCOMPARE(reportToggleSymbol(true), QStringLiteral("chevron.up.circle"));
        QCOMPARE(reportToggleSymbol(false), QStringLiteral("info.circle"));
    }
};

QTEST_GUILESS_MAIN(TestDeliveryReport)
#include "test_delivery_report.moc"
