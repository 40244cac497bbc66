// The shell's texts and lists: the sidebar's rows, order, search and spoken
// texts, the connection screen and pill, avatars and signal bars.
#include "ui/logic/connection_texts.h"
#include "ui/logic/delivery_report.h"
#include "ui/logic/device_texts.h"
#include "ui/logic/node_details.h"
#include "ui/logic/relative_time.h"
#include "ui/logic/sidebar_lists.h"
#include "ui/logic/signal_bars.h"
#include "ui/logic/spoken_text.h"
#include "ui/translations.h"

#include <QCoreApplication>
#include <QSet>
#include <QTest>

using namespace ViewLogic;
using namespace Qt::StringLiterals;
using MeshProtocol::AdvertType;

Q_DECLARE_METATYPE(ViewLogic::Tint)
using LocaleText = std::function<QString(const QLocale&)>;
Q_DECLARE_METATYPE(LocaleText)

// Names that the node books give to keys.
using BookNames = QHash<QString, QString>;

namespace {

const QString keyA = u"aa"_s + QString(62, u'0');
const QString keyB = u"bb"_s + QString(62, u'1');
const QString keyC = u"cc00ab12"_s + QString(56, u'2');
const QString keyD = u"dd"_s + QString(62, u'3');

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

} // namespace

class TestShellLogic : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void initTestCase() { QVERIFY(installTranslations(*QCoreApplication::instance())); }

    void relativeTime_data() {
        QTest::addColumn<qint64>("secondsAgo");
        QTest::addColumn<QString>("expected");
        QTest::newRow("future") << qint64(-30) << u"now"_s;
        QTest::newRow("59 s") << qint64(59) << u"now"_s;
        QTest::newRow("60 s") << qint64(60) << u"1m"_s;
        QTest::newRow("3599 s") << qint64(3599) << u"59m"_s;
        QTest::newRow("3600 s") << qint64(3600) << u"1h"_s;
        QTest::newRow("1 day") << qint64(86400) << u"Thu"_s;
        QTest::newRow("7 days - 1 s") << qint64(604799) << u"Fri"_s;
        QTest::newRow("7 days") << qint64(604800) << u"8 Mar"_s;
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
        const QString zeros(32, u'0');
        QTest::newRow("empty name, zero secret") << channel(1, {}, zeros) << false;
        QTest::newRow("empty name, not hex") << channel(1, {}, u"zz"_s) << false;
        QTest::newRow("empty name, one byte set")
            << channel(1, {}, QString(30, u'0') + u"01"_s) << true;
        QTest::newRow("named, zero secret") << channel(1, u"ops"_s, zeros) << true;
    }

    void channelVisibility() {
        QFETCH(Channel, slot);
        QTEST(isChannelListed(slot), "listed");
    }

    // A row's title, subtitle and avatar: the public channel by its secret,
    // a slot by its number, a contact without a name by its key and type;
    // the last message's mentions as its bubble shows them.
    void rowValues() {
        Conversation conversation;
        ChatMessage message;
        message.text = u"@[Bob Smith], last words"_s;
        conversation.messages = {message};
        conversation.lastActivity = QDateTime::fromSecsSinceEpoch(1000, Qt::UTC);
        const ConversationRow row =
            channelRow(channel(0, {}, u"5D0C2A7F91E4B8365FA0C7D21E9B4A83"_s), &conversation);
        QCOMPARE(row.title, u"Public"_s);
        QCOMPARE(row.subtitle, u"@Bob Smith, last words"_s);
        QVERIFY(row.hasTime());
        QCOMPARE(row.symbol, u"globe"_s);
        const ConversationRow other =
            channelRow(channel(5, {}, u"01"_s + QString(30, u'0')), nullptr);
        QCOMPARE(other.title, u"Channel 5"_s);
        QCOMPARE(other.subtitle, u"Group channel"_s);
        QVERIFY(!other.hasTime());
        QCOMPARE(other.symbol, u"number"_s);

        Conversation empty;
        empty.lastActivity = distantPast();
        const ConversationRow person =
            contactRow(contact(keyB, {}, AdvertType::room, 10), &empty, true);
        QCOMPARE(person.title, keyB.left(12));
        QCOMPARE(person.subtitle, u"Room Server"_s);
        QCOMPARE(person.initials, u"?"_s);
        QVERIFY(!person.symbol);
        QVERIFY(!person.hasTime());
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
        QTest::newRow("key, any case") << u"AB12"_s << QStringList() << QStringList{"Room"};
        QTest::newRow("name, any case") << u"oLD"_s << QStringList() << QStringList{"Old friend"};
        QTest::newRow("not trimmed") << u" chat"_s << QStringList() << QStringList{"New chat"};
        QTest::newRow("nothing") << u"zzz"_s << QStringList() << QStringList{};
    }

    void messagesOrderAndSearch() {
        QFETCH(QString, search);
        QFETCH(QStringList, favourites);
        const QList<Contact> contacts{
            contact(keyA, u"Old friend"_s, AdvertType::chat, 100),
            contact(keyB, u"New chat"_s, AdvertType::chat, 900),
            contact(keyC, u"Room"_s, AdvertType::room, 500),
            contact(keyD, u"Repeater"_s, AdvertType::repeaterNode, 999),
        };
        const QList<Channel> channels{channel(0, u"Public"_s, {}),
                                      channel(1, {}, QString(32, u'0')), channel(2, u"Ops"_s, {})};
        const MessagesList list = ViewLogic::messagesList(
            channels, contacts, {}, QSet<QString>(favourites.begin(), favourites.end()), search);
        QTEST(titles(list.contacts), "contacts");
        for (const ConversationRow& row : list.contacts)
            QCOMPARE(row.isFavorite, favourites.contains(row.seed));
        QCOMPARE(titles(list.channels), (QStringList{"Public", "Ops"}));
        QVERIFY(!list.showEmptyState);
    }

    // Conversations whose contact the radio does not know stay listed, after
    // its contacts, newest first, under a book's name or the key; empty ones
    // (only made for a contact once listed) do not. A book's name that reads
    // like another row's (an impostor's, or an old key of the same person)
    // gets the start of its key.
    void messagesListTheConversationsTheRadioDoesNotKnow_data() {
        QTest::addColumn<QString>("search");
        QTest::addColumn<BookNames>("bookNames");
        QTest::addColumn<QStringList>("contacts");
        const auto keyed = [](const char* name, const QString& key) {
            return QString::fromUtf8(name) + u" ("_s + key.left(12) + u')';
        };
        QTest::newRow("all") << QString() << BookNames{{keyB, u"Harbour"_s}}
                             << QStringList{"Known", "Harbour", keyD.left(12)};
        QTest::newRow("by a book's name")
            << u"harb"_s << BookNames{{keyB, u"Harbour"_s}} << QStringList{"Harbour"};
        QTest::newRow("by key") << u"dd333"_s << BookNames{{keyB, u"Harbour"_s}}
                                << QStringList{keyD.left(12)};
        QTest::newRow("a listed contact's name")
            << QString() << BookNames{{keyB, u"Known"_s}}
            << QStringList{"Known", keyed("Known", keyB), keyD.left(12)};
        QTest::newRow("a listed contact's name, spaced and cased otherwise")
            << QString() << BookNames{{keyB, u" known "_s}}
            << QStringList{"Known", keyed(" known ", keyB), keyD.left(12)};
        QTest::newRow("two of them under one name")
            << QString() << BookNames{{keyB, u"Harbour"_s}, {keyD, u"Harbour"_s}}
            << QStringList{"Known", keyed("Harbour", keyB), keyed("Harbour", keyD)};
        QTest::newRow("the search finds it by its name")
            << u"know"_s << BookNames{{keyB, u"Known"_s}}
            << QStringList{"Known", keyed("Known", keyB)};
    }

    void messagesListTheConversationsTheRadioDoesNotKnow() {
        QFETCH(QString, search);
        QFETCH(BookNames, bookNames);
        const auto conversation = [](const QString& key, qint64 lastActivity, bool withMessage) {
            Conversation c;
            c.target = ConversationID::contact(key);
            c.lastActivity = QDateTime::fromSecsSinceEpoch(lastActivity, Qt::UTC);
            if (withMessage)
                c.messages.append(ChatMessage{});
            return c;
        };
        ConversationMap conversations;
        for (const Conversation& c : {conversation(keyA, 10, true), conversation(keyB, 30, true),
                                      conversation(keyC, 40, false), conversation(keyD, 20, true)})
            conversations.insert(c.target.conversationKey(), c);
        const QList<Contact> known{contact(keyA, u"Known"_s, AdvertType::chat, 1)};
        const MessagesList list =
            messagesList({}, known, conversations, {}, search, QLocale(), bookNames);
        QTEST(titles(list.contacts), "contacts");
        QVERIFY(!messagesList({}, {}, conversations, {}, {}).showEmptyState);
    }

    void messagesEmptyState() {
        QVERIFY(messagesList({}, {}, {}, {}, u"x"_s).showEmptyState);
        QVERIFY(messagesList({channel(1, {}, {})}, {}, {}, {}, {}).showEmptyState);
        QVERIFY(!messagesList({channel(1, u"a"_s, {})}, {}, {}, {}, {}).showEmptyState);
        // A repeater is a contact too: it keeps the messages list out of the empty state.
        QVERIFY(!messagesList({}, {contact(keyD, u"R"_s, AdvertType::repeaterNode, 1)}, {}, {}, {})
                     .showEmptyState);
    }

    // What a screen reader announces for a row or a message: what is on it,
    // in reading order, without empty parts.
    void spokenTexts_data() {
        using State = ChatMessage::DeliveryState;
        QTest::addColumn<QString>("spoken");
        QTest::addColumn<QString>("expected");
        QTest::newRow("conversation, all parts")
            << conversationRowSpoken(u"Aino"_s, u"See you"_s, u"5m"_s, 2, true)
            << u"Favourite, Aino, See you, 5m, 2 unread"_s;
        QTest::newRow("conversation, no time, nothing unread")
            << conversationRowSpoken(u"Public"_s, u"Group channel"_s, QString(), 0, false)
            << u"Public, Group channel"_s;
        QTest::newRow("conversation muted, a mention unread")
            << conversationRowSpoken(u"Public"_s, u"hi"_s, u"now"_s, 5, false, 1,
                                     NotificationLevel::nothing)
            << u"Public, hi, now, 5 unread, 1 mention of you, Nothing"_s;
        QTest::newRow("mentions only, read")
            << conversationRowSpoken(u"Public"_s, u"hi"_s, QString(), 0, false, 2,
                                     NotificationLevel::mentions)
            << u"Public, hi, Mentions Only"_s;
        QTest::newRow("node without a path, with a position")
            << nodeRowSpoken(u"Ridge"_s, u"Repeater"_s, -1, true, false)
            << u"Ridge, Repeater, Flood routing, Has a position"_s;
        QTest::newRow("favourite node with a path")
            << nodeRowSpoken(u"Valley"_s, u"Sensor"_s, 0, false, true)
            << u"Favourite, Valley, Sensor, Direct routing"_s;
        QTest::newRow("incoming channel message")
            << messageSpoken(u"Alice"_s, u"hi"_s, u"10:42"_s, false, State::delivered)
            << u"Alice: hi, 10:42"_s;
        QTest::newRow("outgoing, failed")
            << messageSpoken(QString(), u"ok"_s, u"10:43"_s, true, State::failed)
            << u"You: ok, 10:43, Failed to send"_s;
    }

    void spokenTexts() {
        QFETCH(QString, spoken);
        QTEST(spoken, "expected");
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

    void pill() {
        QCOMPARE(pillTitle(std::nullopt), u"Talvenne"_s);
        SelfInfo self;
        self.name = u"Base"_s;
        QCOMPARE(pillTitle(self), u"Base"_s);

        const BatteryInfo battery{4000, {}, {}};
        QCOMPARE(pillSecondLine(true, battery)->key, QByteArray("main.connection.syncing"));
        const QLocale english(QLocale::English);
        QCOMPARE(pillSecondLine(false, battery, english)->text(), u"77% \u00B7 4.00\u00A0V"_s);
        QVERIFY(!pillSecondLine(false, BatteryInfo{}));
        QCOMPARE(batteryLine(BatteryInfo{3000, {}, {}}, english).value_or(QString()),
                 u"0% \u00B7 3.00\u00A0V"_s);
        QCOMPARE(batteryLine(BatteryInfo{4235, {}, {}}, english).value_or(QString()),
                 u"100% \u00B7 4.24\u00A0V"_s);
        QVERIFY(!pillSecondLine(false, std::nullopt));
        QCOMPARE(pillDotTint(TransportState::connected), Tint::green);
        QCOMPARE(pillDotTint(TransportState::connecting), Tint::orange);
    }

    // Every measure the window shows, in English and in German: the
    // locale's decimal sign, and one space between number and unit.
    void numbersFollowTheLocale_data() {
        QTest::addColumn<LocaleText>("text");
        QTest::addColumn<QString>("english");
        QTest::addColumn<QString>("german");
        ChatMessage message;
        message.direction = ChatMessage::Direction::outgoing;
        message.timestamp = QDateTime::fromSecsSinceEpoch(1'700'000'000, Qt::UTC);
        message.roundTripMillis = 1834;
        message.snr = -7.25;
        QTest::newRow("round trip under a bubble")
            << LocaleText([=](const QLocale& l) { return *bubbleFooter(message, l).roundTrip; })
            << u"\u00B7 1.8\u00A0s"_s << u"\u00B7 1,8\u00A0s"_s;
        QTest::newRow("signal under a bubble")
            << LocaleText([=](const QLocale& l) { return *bubbleFooter(message, l).snr; })
            << u"\u00B7 -7\u00A0dB"_s << u"\u00B7 -7\u00A0dB"_s;
        QTest::newRow("battery in the pill") << LocaleText([](const QLocale& l) {
            return *batteryLine(BatteryInfo{4012, {}, {}}, l);
        }) << u"79% \u00B7 4.01\u00A0V"_s << u"79% \u00B7 4,01\u00A0V"_s;
        QTest::newRow("voltage in the device pane")
            << LocaleText([](const QLocale& l) { return voltageText(3906, l); })
            << u"(3.91\u00A0V)"_s << u"(3,91\u00A0V)"_s;
        DeviceStats radio;
        radio.lastSNR = 6.4;
        radio.lastRSSI = -71;
        DeviceStats packets;
        packets.packetsReceived = 12345;
        QTest::newRow("statistics") << LocaleText([=](const QLocale& l) {
            QStringList values;
            for (const StatisticRow& row : statisticRows({}, radio, packets, l))
                values << row.value;
            return values.join(u" | "_s);
        }) << u"-71\u00A0dBm | 6.4\u00A0dB | 12,345"_s
                                    << u"-71\u00A0dBm | 6,4\u00A0dB | 12.345"_s;
        QTest::newRow("position") << LocaleText([](const QLocale& l) {
            return coordinateText(60.171164, -24.5, l);
        }) << u"60.17116° N, 24.50000° W"_s
                                  << u"60,17116° N, 24,50000° W"_s;
        QTest::newRow("frequency")
            << LocaleText([](const QLocale& l) { return quantity(869.525, 3, u"MHz"_s, l); })
            << u"869.525\u00A0MHz"_s << u"869,525\u00A0MHz"_s;
    }
    void numbersFollowTheLocale() {
        QFETCH(LocaleText, text);
        QTEST(text(QLocale(QLocale::English, QLocale::UnitedStates)), "english");
        QTEST(text(QLocale(QLocale::German, QLocale::Germany)), "german");
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
        QCOMPARE(QByteArray(connectionStatusKey(state)), status);
        QVERIFY(qtTrId(status.constData()) != QString::fromLatin1(status));
        QTEST(scanButtonStops(state), "stops");
        QTEST(scanButtonEnabled(state), "enabled");
        QTEST(shouldStartScan(state, 0), "autoScan");
        QVERIFY(!shouldStartScan(state, 1));
    }
};

QTEST_GUILESS_MAIN(TestShellLogic)
#include "test_shell_logic.moc"
