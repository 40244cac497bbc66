// The shell's texts and lists: the sidebar's rows, order, search and spoken
// texts, the connection screen and pill, avatars and signal bars.
#include "ui/logic/avatar_gradient.h"
#include "ui/logic/connection_texts.h"
#include "ui/logic/relative_time.h"
#include "ui/logic/sidebar_lists.h"
#include "ui/logic/signal_bars.h"
#include "ui/logic/spoken_text.h"
#include "ui/translations.h"

#include <QCoreApplication>
#include <QSet>
#include <QTest>

using namespace ViewLogic;
using MeshProtocol::AdvertType;

Q_DECLARE_METATYPE(ViewLogic::Tint)
Q_DECLARE_METATYPE(std::optional<QString>)

namespace {

const QString keyA = QStringLiteral("aa") + QString(62, QLatin1Char('0'));
const QString keyB = QStringLiteral("bb") + QString(62, QLatin1Char('1'));
const QString keyC = QStringLiteral("cc00ab12") + QString(56, QLatin1Char('2'));
const QString keyD = QStringLiteral("dd") + QString(62, QLatin1Char('3'));

Contact contact(const QString& key, const QString& name, AdvertType type, qint64 advertSecs) {
    Contact c;
    c.publicKey = key;
    c.name = name;
    c.type = type;
    c.lastAdvert = QDateTime::fromSecsSinceEpoch(advertSecs, Qt::UTC);
    return c;
}

Channel channel(int index, const QString& name, const QString& secret) {
    return {index, name, secret};
}

QStringList titles(const QList<ConversationRow>& rows) {
    QStringList result;
    for (const ConversationRow& row : rows)
        result << row.title;
    return result;
}

QStringList names(const QList<Contact>& contacts) {
    QStringList result;
    for (const Contact& c : contacts)
        result << c.name;
    return result;
}

} // namespace

class TestShellLogic : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void initTestCase() { QVERIFY(installTranslations(*QCoreApplication::instance())); }

    void relativeTime_data() {
        QTest::addColumn<qint64>("secondsAgo");
        QTest::addColumn<QString>("expected");
        QTest::newRow("future") << qint64(-30) << QStringLiteral("now");
        QTest::newRow("59 s") << qint64(59) << QStringLiteral("now");
        QTest::newRow("60 s") << qint64(60) << QStringLiteral("1m");
        QTest::newRow("3599 s") << qint64(3599) << QStringLiteral("59m");
        QTest::newRow("3600 s") << qint64(3600) << QStringLiteral("1h");
        QTest::newRow("86399 s") << qint64(86399) << QStringLiteral("23h");
        QTest::newRow("1 day") << qint64(86400) << QStringLiteral("Thu");
        QTest::newRow("7 days - 1 s") << qint64(604799) << QStringLiteral("Fri");
        QTest::newRow("7 days") << qint64(604800) << QStringLiteral("8 Mar");
    }

    void relativeTime() {
        QFETCH(qint64, secondsAgo);
        const QDateTime now(QDate(2024, 3, 15), QTime(12, 0)); // a Friday
        QTEST(ViewLogic::relativeTime(now.addSecs(-secondsAgo), now,
                                      QLocale(QLocale::English, QLocale::UnitedKingdom)),
              "expected");
    }

    void channelVisibility_data() {
        QTest::addColumn<Channel>("slot");
        QTest::addColumn<bool>("listed");
        const QString zeros(32, QLatin1Char('0'));
        QTest::newRow("empty name, zero secret") << channel(1, {}, zeros) << false;
        QTest::newRow("empty name, not hex") << channel(1, {}, QStringLiteral("zz")) << false;
        QTest::newRow("empty name, one byte set")
            << channel(1, {}, QString(30, QLatin1Char('0')) + QStringLiteral("01")) << true;
        QTest::newRow("named, zero secret") << channel(1, QStringLiteral("ops"), zeros) << true;
    }

    void channelVisibility() {
        QFETCH(Channel, slot);
        QFETCH(bool, listed);
        QCOMPARE(isChannelListed(slot), listed);
    }

    void channelRowValues() {
        Conversation conversation;
        ChatMessage message;
        message.text = QStringLiteral("last words");
        conversation.messages = {message};
        conversation.lastActivity = QDateTime::fromSecsSinceEpoch(1000, Qt::UTC);
        const ConversationRow row = channelRow(
            channel(0, {}, QStringLiteral("5D0C2A7F91E4B8365FA0C7D21E9B4A83")), &conversation);
        QCOMPARE(row.title, QStringLiteral("Public"));
        QCOMPARE(row.subtitle, QStringLiteral("last words"));
        QVERIFY(row.hasTime());
        QCOMPARE(row.seed, QStringLiteral("channel0"));
        QVERIFY(row.initials.isEmpty());
        QCOMPARE(row.symbol, QStringLiteral("globe"));

        const ConversationRow other = channelRow(
            channel(5, {}, QStringLiteral("01") + QString(30, QLatin1Char('0'))), nullptr);
        QCOMPARE(other.title, QStringLiteral("Channel 5"));
        QCOMPARE(other.subtitle, QStringLiteral("Group channel"));
        QVERIFY(!other.hasTime());
        QCOMPARE(other.unread, 0);
        QCOMPARE(other.symbol, QStringLiteral("number"));
    }

    void contactRowValues() {
        Conversation empty;
        empty.lastActivity = distantPast();
        const ConversationRow row =
            contactRow(contact(keyB, {}, AdvertType::room, 10), &empty, true);
        QCOMPARE(row.title, keyB.left(12));
        QCOMPARE(row.subtitle, QStringLiteral("Room Server"));
        QCOMPARE(row.seed, keyB);
        QCOMPARE(row.initials, QStringLiteral("?"));
        QVERIFY(!row.symbol);
        QVERIFY(!row.hasTime());
    }

    // Contacts newest advert first with favourites ahead, repeaters left to
    // the nodes list; the search matches name or key in any case, untrimmed.
    // Channels are never searched away, nor an unnamed empty slot listed, and
    // a failed search is no empty state.
    void messagesOrderAndSearch_data() {
        QTest::addColumn<QString>("search");
        QTest::addColumn<QStringList>("favourites");
        QTest::addColumn<QStringList>("contacts");
        QTest::newRow("newest first")
            << QString() << QStringList() << QStringList{"New chat", "Room", "Old friend"};
        QTest::newRow("favourite first")
            << QString() << QStringList{keyA} << QStringList{"Old friend", "New chat", "Room"};
        QTest::newRow("key, any case")
            << QStringLiteral("AB12") << QStringList() << QStringList{"Room"};
        QTest::newRow("name, any case")
            << QStringLiteral("oLD") << QStringList() << QStringList{"Old friend"};
        QTest::newRow("not trimmed")
            << QStringLiteral(" chat") << QStringList() << QStringList{"New chat"};
        QTest::newRow("nothing") << QStringLiteral("zzz") << QStringList() << QStringList{};
    }

    void messagesOrderAndSearch() {
        QFETCH(QString, search);
        QFETCH(QStringList, favourites);
        const QList<Contact> contacts{
            contact(keyA, QStringLiteral("Old friend"), AdvertType::chat, 100),
            contact(keyB, QStringLiteral("New chat"), AdvertType::chat, 900),
            contact(keyC, QStringLiteral("Room"), AdvertType::room, 500),
            contact(keyD, QStringLiteral("Repeater"), AdvertType::repeaterNode, 999),
        };
        const QList<Channel> channels{channel(0, QStringLiteral("Public"), {}),
                                      channel(1, {}, QString(32, QLatin1Char('0'))),
                                      channel(2, QStringLiteral("Ops"), {})};
        const MessagesList list = ViewLogic::messagesList(
            channels, contacts, {}, QSet<QString>(favourites.begin(), favourites.end()), search);
        QTEST(titles(list.contacts), "contacts");
        for (const ConversationRow& row : list.contacts)
            QCOMPARE(row.isFavorite, favourites.contains(row.seed));
        QCOMPARE(titles(list.channels), (QStringList{"Public", "Ops"}));
        QVERIFY(!list.showEmptyState);
    }

    void messagesEmptyState() {
        QVERIFY(messagesList({}, {}, {}, {}, QStringLiteral("x")).showEmptyState);
        QVERIFY(messagesList({channel(1, {}, {})}, {}, {}, {}, {}).showEmptyState);
        QVERIFY(
            !messagesList({channel(1, QStringLiteral("a"), {})}, {}, {}, {}, {}).showEmptyState);
        // A repeater is a contact too: it keeps the messages list out of the empty state.
        QVERIFY(!messagesList({}, {contact(keyD, QStringLiteral("R"), AdvertType::repeaterNode, 1)},
                              {}, {}, {})
                     .showEmptyState);
    }

    void nodesSections() {
        const QList<Contact> contacts{
            contact(keyA, QStringLiteral("chat"), AdvertType::chat, 100),
            contact(keyB, QStringLiteral("old repeater"), AdvertType::repeaterNode, 100),
            contact(keyC, QStringLiteral("sensor"), AdvertType::sensor, 300),
            contact(keyD, QStringLiteral("unknown"), AdvertType::none, 200),
            contact(keyA.left(63) + QLatin1Char('9'), QStringLiteral("room"), AdvertType::room, 1),
        };
        const NodesList withoutFavourites = nodesList(contacts, {}, {});
        QVERIFY(withoutFavourites.favorites.isEmpty());
        QCOMPARE(names(withoutFavourites.others),
                 (QStringList{"sensor", "unknown", "old repeater"}));
        QCOMPARE(withoutFavourites.othersTitleKey, QByteArray("sidebar.section.nodes"));

        const NodesList withFavourite = nodesList(contacts, {keyB, keyA}, {});
        QCOMPARE(names(withFavourite.favorites), QStringList{"old repeater"});
        QCOMPARE(names(withFavourite.others), (QStringList{"sensor", "unknown"}));
        QCOMPARE(withFavourite.othersTitleKey, QByteArray("sidebar.section.all.nodes"));
        QVERIFY(!withFavourite.showEmptyState);

        QVERIFY(nodesList(contacts, {}, QStringLiteral("nobody")).showEmptyState);
        QCOMPARE(nodesList(contacts, {}, QStringLiteral("SENS")).others.size(), 1);
    }

    // What a screen reader announces for a row or a message: what is on it,
    // in reading order, without empty parts.
    void spokenTexts_data() {
        using State = ChatMessage::DeliveryState;
        QTest::addColumn<QString>("spoken");
        QTest::addColumn<QString>("expected");
        QTest::newRow("conversation, all parts")
            << conversationRowSpoken(QStringLiteral("Aino"), QStringLiteral("See you"),
                                     QStringLiteral("5m"), 2, true)
            << QStringLiteral("Favourite, Aino, See you, 5m, 2 unread");
        QTest::newRow("conversation, no time, nothing unread")
            << conversationRowSpoken(QStringLiteral("Public"), QStringLiteral("Group channel"),
                                     QString(), 0, false)
            << QStringLiteral("Public, Group channel");
        QTest::newRow("node without a path, with a position")
            << nodeRowSpoken(QStringLiteral("Ridge"), QStringLiteral("Repeater"), -1, true, false)
            << QStringLiteral("Ridge, Repeater, Flood routing, Has a position");
        QTest::newRow("favourite node with a path")
            << nodeRowSpoken(QStringLiteral("Valley"), QStringLiteral("Sensor"), 0, false, true)
            << QStringLiteral("Favourite, Valley, Sensor, Direct routing");
        QTest::newRow("incoming channel message")
            << messageSpoken(QStringLiteral("Alice"), QStringLiteral("hi"), QStringLiteral("10:42"),
                             false, State::delivered)
            << QStringLiteral("Alice: hi, 10:42");
        QTest::newRow("incoming direct message")
            << messageSpoken(QString(), QStringLiteral("hi"), QStringLiteral("10:42"), false,
                             State::delivered)
            << QStringLiteral("hi, 10:42");
        QTest::newRow("outgoing, failed")
            << messageSpoken(QString(), QStringLiteral("ok"), QStringLiteral("10:43"), true,
                             State::failed)
            << QStringLiteral("You: ok, 10:43, Failed to send");
    }

    void spokenTexts() {
        QFETCH(QString, spoken);
        QFETCH(QString, expected);
        QCOMPARE(spoken, expected);
    }

    void signalLevel_data() {
        QTest::addColumn<int>("rssi");
        QTest::addColumn<int>("bars");
        QTest::addColumn<Tint>("tint");
        QTest::newRow("-96") << -96 << 1 << Tint::red;
        QTest::newRow("-95") << -95 << 2 << Tint::orange;
        QTest::newRow("-81") << -81 << 2 << Tint::orange;
        QTest::newRow("-80") << -80 << 3 << Tint::yellow;
        QTest::newRow("-66") << -66 << 3 << Tint::yellow;
        QTest::newRow("-65") << -65 << 4 << Tint::green;
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
};

QTEST_GUILESS_MAIN(TestShellLogic)
#include "test_shell_logic.moc"
