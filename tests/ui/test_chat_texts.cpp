// What the chat shows: its header, the composer's limit, and a message
// bubble's text in runs, a channel sender's name, badge and colour, the
// footer and the delivery report.
#include "text/mentions.h"
#include "text/text_segments.h"
#include "ui/logic/channel_sender.h"
#include "ui/logic/chat_header.h"
#include "ui/logic/composer.h"
#include "ui/logic/conversation_export.h"
#include "ui/logic/delivery_report.h"
#include "ui/logic/first_unread.h"
#include "ui/translations.h"

#include <QCoreApplication>
#include <QMetaEnum>
#include <QTest>

using namespace ViewLogic;
using namespace Text;
using namespace Qt::StringLiterals;
using MeshProtocol::AdvertType;
using State = ChatMessage::DeliveryState;

Q_DECLARE_METATYPE(ViewLogic::Tint)
Q_DECLARE_METATYPE(std::optional<QString>)

using Segments = QList<TextSegment>;

namespace {

const QString key = u"0123456789abcdef"_s + QString(48, u'e');

Contact contact(const QString& name, AdvertType type, int outPathLength = -1) {
    Contact c;
    c.publicKey = key;
    c.name = name;
    c.type = type;
    c.outPathLength = static_cast<std::int8_t>(outPathLength);
    return c;
}

TextSegment P(const char* text) {
    return TextSegment::plain(QString::fromUtf8(text));
}
TextSegment M(const char* text) {
    return TextSegment::mention(QString::fromUtf8(text));
}
TextSegment L(const char* url) {
    return TextSegment::link(QString::fromUtf8(url), QString::fromUtf8(url));
}

QString describe(const Segments& segments) {
    QStringList parts;
    for (const TextSegment& s : segments) {
        const char* kind = s.kind == TextSegment::Kind::plain     ? "plain"
                           : s.kind == TextSegment::Kind::mention ? "mention"
                                                                  : "link";
        parts << u"%1«%2»"_s.arg(QLatin1String(kind), s.text);
    }
    return parts.join(u' ');
}

QString tintName(Tint tint) {
    return QString::fromLatin1(QMetaEnum::fromType<Tint>().valueToKey(int(tint)));
}

ChatMessage incoming(const QString& text) {
    ChatMessage message;
    message.direction = ChatMessage::Direction::incoming;
    message.text = text;
    message.timestamp = QDateTime(QDate(2024, 2, 3), QTime(14, 5, 9));
    return message;
}

ChatMessage outgoing(State state) {
    ChatMessage message;
    message.direction = ChatMessage::Direction::outgoing;
    message.text = u"hi"_s;
    message.deliveryState = state;
    message.timestamp = QDateTime(QDate(2024, 2, 3), QTime(14, 5, 9));
    return message;
}

} // namespace

class TestChatTexts : public QObject {
    Q_OBJECT

    const QLocale english{QLocale::English, QLocale::UnitedKingdom};

private Q_SLOTS:
    void initTestCase() { QVERIFY(installTranslations(*QCoreApplication::instance())); }

    // The header of a contact or a channel slot (public, named or not),
    // with its avatar; one that is missing is in test_chat_view_qml.
    void header_data() {
        QTest::addColumn<ConversationID>("target");
        QTest::addColumn<std::optional<Contact>>("person");
        QTest::addColumn<std::optional<Channel>>("slot");
        QTest::addColumn<QString>("title");
        QTest::addColumn<QString>("subtitle");
        QTest::addColumn<QString>("initials");
        QTest::addColumn<std::optional<QString>>("symbol");
        const auto person = ConversationID::contact(key);
        const std::optional<Contact> none;
        const std::optional<Channel> noSlot;
        const std::optional<QString> noSymbol;
        const auto typed = [](AdvertType type, const char* route) {
            return MeshProtocol::displayName(type) + QString::fromUtf8(route);
        };
        QTest::newRow("unnamed companion, direct")
            << person << std::optional(contact({}, AdvertType::chat, 0)) << noSlot
            << u"0123456789ab"_s << typed(AdvertType::chat, " · direct route") << u"?"_s
            << noSymbol;
        QTest::newRow("room, flooded")
            << person << std::optional(contact(u"Ann Lee"_s, AdvertType::room)) << noSlot
            << u"Ann Lee"_s << typed(AdvertType::room, " · flood routed") << u"AL"_s
            << std::optional(u"bubble.left.and.bubble.right.fill"_s);
        QTest::newRow("unknown type")
            << person << std::optional(contact(u"x"_s, AdvertType::none, 2)) << noSlot << u"x"_s
            << typed(AdvertType::none, " · direct route") << u"X"_s
            << std::optional(u"questionmark.circle"_s);
        QTest::newRow("public channel, secret in upper case")
            << ConversationID::channel(0) << none
            << std::optional(Channel{0, {}, u"5D0C2A7F91E4B8365FA0C7D21E9B4A83"_s}) << u"Public"_s
            << u"Channel"_s << QString() << std::optional(u"globe"_s);
        QTest::newRow("named channel")
            << ConversationID::channel(2) << none
            << std::optional(Channel{2, u"ops"_s, QString(32, u'1')}) << u"ops"_s << u"Channel"_s
            << QString() << std::optional(u"number"_s);
        QTest::newRow("unnamed channel")
            << ConversationID::channel(3) << none << std::optional(Channel{3, {}, {}})
            << u"Channel 3"_s << u"Channel"_s << QString() << std::optional(u"number"_s);
    }

    void header() {
        QFETCH(ConversationID, target);
        QFETCH(std::optional<Contact>, person);
        QFETCH(std::optional<Channel>, slot);
        const ChatHeader header = chatHeader(target, person, slot);
        QTEST(header.title, "title");
        QTEST(header.subtitle.text(), "subtitle");
        QTEST(header.avatarInitials, "initials");
        QTEST(header.avatarSymbol, "symbol");
        QCOMPARE(header.avatarSeed,
                 target.isContact() ? key : target.conversationKey().remove(u':'));
        QCOMPARE(header.showsVerification, person.has_value());
    }

    void composerLimit_data() {
        QTest::addColumn<QString>("draft");
        QTest::addColumn<QString>("kept");
        QTest::addColumn<QString>("counter");
        QTest::addColumn<Tint>("tint");
        QTest::addColumn<bool>("atLimit");
        const QString a = u"a"_s;
        QTest::newRow("118: 21 left")
            << a.repeated(118) << a.repeated(118) << u"118/139"_s << Tint::secondary << false;
        QTest::newRow("119: 20 left")
            << a.repeated(119) << a.repeated(119) << u"119/139"_s << Tint::orange << false;
        QTest::newRow("139 kept") << a.repeated(139) << a.repeated(139) << u"139/139"_s << Tint::red
                                  << true;
        QTest::newRow("200 cut") << a.repeated(200) << a.repeated(139) << u"139/139"_s << Tint::red
                                 << true;
        // 139 family emoji are far more than 139 UTF-16 units but stay whole.
        const QString family = u"\U0001F468\u200D\U0001F469\u200D\U0001F467"_s;
        QTest::newRow("emoji counted as characters")
            << family.repeated(139) << family.repeated(139) << u"139/139"_s << Tint::red << true;
        QTest::newRow("emoji cut whole")
            << family.repeated(141) << family.repeated(139) << u"139/139"_s << Tint::red << true;
    }

    void composerLimit() {
        QFETCH(QString, draft);
        const QString limited = limitDraft(draft);
        QTEST(limited, "kept");
        QTEST(composerCounterText(limited), "counter");
        QTEST(composerCounterTint(limited), "tint");
        QTEST(composerAtLimit(limited), "atLimit");
    }

    void canSend_data() {
        QTest::addColumn<QString>("draft");
        QTest::addColumn<bool>("connected");
        QTest::addColumn<bool>("sendable");
        QTest::newRow("text") << u"hi"_s << true << true;
        QTest::newRow("disconnected") << u"hi"_s << false << false;
        QTest::newRow("blank") << u"  \n\t \n"_s << true << false;
        QTest::newRow("139 after trimming")
            << u"  "_s + QString(139, u'x') + u"\n"_s << true << true;
        QTest::newRow("140") << QString(140, u'x') << true << false;
    }

    void canSend() {
        QFETCH(QString, draft);
        QFETCH(bool, connected);
        QTEST(ViewLogic::canSend(draft, connected), "sendable");
    }

    void segmentsSplitText_data() {
        QTest::addColumn<QString>("text");
        QTest::addColumn<Segments>("expected");

        QTest::newRow("empty") << QString() << Segments{};
        QTest::newRow("plain only") << u"hello there"_s << Segments{P("hello there")};
        QTest::newRow("bracket mention")
            << u"hi @[Bob Smith], ok"_s << Segments{P("hi "), M("@Bob Smith"), P(", ok")};
        QTest::newRow("bare mention ends at full stop")
            << u"see x@y."_s << Segments{P("see x"), M("@y"), P(".")};
        QTest::newRow("lone at before space") << u"@ all"_s << Segments{P("@"), P(" all")};
        QTest::newRow("unclosed bracket")
            << u"a @[Bob and more"_s << Segments{P("a "), P("@[Bob and more")};
        QTest::newRow("empty bracket") << u"@[]"_s << Segments{M("@")};
        QTest::newRow("url keeps trailing dot")
            << u"go https://x.org/a. now"_s << Segments{P("go "), L("https://x.org/a."), P(" now")};
        QTest::newRow("http and closing parenthesis")
            << u"(http://a.b/c)"_s << Segments{P("("), L("http://a.b/c)")};
        QTest::newRow("upper-case scheme is text")
            << u"HTTPS://x.org"_s << Segments{P("HTTPS://x.org")};
        QTest::newRow("at inside url is not a mention")
            << u"https://u@host/p @me"_s << Segments{L("https://u@host/p"), P(" "), M("@me")};
        QTest::newRow("bare then bracket")
            << u"x @y @[Z]"_s << Segments{P("x "), M("@y"), P(" "), M("@Z")};
        QTest::newRow("bracket wins over its own at")
            << u"@[A]@b!"_s << Segments{M("@A"), M("@b"), P("!")};
        QTest::newRow("line feed ends mention") << u"@ann\nhi"_s << Segments{M("@ann"), P("\nhi")};
        QTest::newRow("url up to tab")
            << u"https://a.b\tc"_s << Segments{L("https://a.b"), P("\tc")};
        QTest::newRow("emoji name stays whole")
            << u"@\U0001F600x y"_s << Segments{M("@\U0001F600x"), P(" y")};
        QTest::newRow("accented at is not an at") << u"@\u0301bob"_s << Segments{P("@\u0301bob")};
    }

    void segmentsSplitText() {
        QFETCH(QString, text);
        QFETCH(Segments, expected);
        const Segments actual = segments(text);
        QCOMPARE(describe(actual), describe(expected));
        QCOMPARE(actual, expected);
    }

    // A mention of the radio's own name: a whole mention segment naming it,
    // ignoring case as names compare.
    void mentionsOfMe_data() {
        QTest::addColumn<QString>("text");
        QTest::addColumn<QString>("ownName");
        QTest::addColumn<bool>("mentions");
        QTest::newRow("bare, other case") << u"hi @MÖKKI!"_s << u"Mökki"_s << true;
        QTest::newRow("bracket with a space") << u"@[base camp] ok"_s << u"Base Camp"_s << true;
        QTest::newRow("bare stops at the space") << u"@Base Camp"_s << u"Base Camp"_s << false;
        QTest::newRow("longer name") << u"@Mökkiläinen"_s << u"Mökki"_s << false;
        QTest::newRow("full case folding") << u"@STRASSE"_s << u"Straße"_s << true;
        QTest::newRow("inside a link") << u"https://x.org/@Mökki"_s << u"Mökki"_s << false;
        QTest::newRow("no own name yet") << u"@"_s << QString() << false;
        QTest::newRow("name without an at") << u"Mökki, hi"_s << u"Mökki"_s << false;
    }
    void mentionsOfMe() {
        QFETCH(QString, text);
        QFETCH(QString, ownName);
        QFETCH(bool, mentions);
        QCOMPARE(mentionsName(text, ownName), mentions);
    }

    // Where the divider goes: above the oldest of the newest incoming
    // messages, as many as were unread ("i" incoming, "o" outgoing).
    void firstUnreadDivider_data() {
        QTest::addColumn<QString>("messages");
        QTest::addColumn<int>("unread");
        QTest::addColumn<int>("row");
        QTest::addColumn<int>("count");
        QTest::newRow("nothing unread") << u"iioi"_s << 0 << -1 << 0;
        QTest::newRow("the last two") << u"iioii"_s << 2 << 3 << 2;
        QTest::newRow("a reply between them") << u"ioioi"_s << 2 << 2 << 2;
        QTest::newRow("the user's own after them") << u"iiioo"_s << 1 << 2 << 1;
        QTest::newRow("more unread than messages") << u"oiio"_s << 9 << 1 << 2;
        QTest::newRow("only own messages") << u"oo"_s << 3 << -1 << 0;
    }
    void firstUnreadDivider() {
        QFETCH(QString, messages);
        QFETCH(int, unread);
        QFETCH(int, row);
        QFETCH(int, count);
        MessageList list;
        for (const QChar kind : messages)
            list.append(kind == u'o' ? outgoing(State::delivered) : incoming(u"hi"_s));
        QCOMPARE(firstUnread(list, unread), (FirstUnread{row, count}));
    }

    // A saved conversation: one line per message, fields apart by tabs, the
    // text as received but on one line and without invisible characters.
    void savedConversationLines_data() {
        QTest::addColumn<bool>("channel");
        QTest::addColumn<bool>("outgoingMessage");
        QTest::addColumn<QString>("text");
        QTest::addColumn<QString>("line");
        QTest::newRow("direct, received") << false << false << u"see you"_s
                                          << u"2024-02-03 14:05:09\tAino\tsee you\tReceived\n"_s;
        QTest::newRow("channel sender")
            << true << false << u"Ann: <b>hi</b> @[Bob]"_s
            << u"2024-02-03 14:05:09\tAnn\t<b>hi</b> @[Bob]\tReceived\n"_s;
        QTest::newRow("channel text without a sender")
            << true << false << u"hello all"_s << u"2024-02-03 14:05:09\t\thello all\tReceived\n"_s;
        QTest::newRow("own, failed")
            << false << true << u"hi"_s << u"2024-02-03 14:05:09\tYou\thi\tFailed to send\n"_s;
        QTest::newRow("line breaks, tab and an override")
            << false << false << u"a\r\n\nb\tc\u202Ed"_s
            << u"2024-02-03 14:05:09\tAino\ta b c\uFFFDd\tReceived\n"_s;
    }
    void savedConversationLines() {
        QFETCH(bool, channel);
        QFETCH(bool, outgoingMessage);
        QFETCH(QString, text);
        QFETCH(QString, line);
        Conversation conversation;
        conversation.target = channel ? ConversationID::channel(0) : ConversationID::contact(key);
        ChatMessage message = outgoingMessage ? outgoing(State::failed) : incoming(text);
        message.text = text;
        message.timestamp = QDateTime(QDate(2024, 2, 3), QTime(14, 5, 9));
        conversation.messages.append(message);
        QCOMPARE(conversationText(conversation, u"Aino"_s), line);
    }

    void fileNameOfATitle_data() {
        QTest::addColumn<QString>("title");
        QTest::addColumn<QString>("fileName");
        QTest::newRow("plain") << u"Aino Virtanen"_s << u"Aino Virtanen.txt"_s;
        QTest::newRow("path characters") << u"../a/b:c"_s << u"_a_b_c.txt"_s;
        QTest::newRow("hidden") << u".secret"_s << u"secret.txt"_s;
        QTest::newRow("nothing left") << u"..."_s << u"conversation.txt"_s;
        QTest::newRow("right to left, isolated in the window") << u"שלום"_s << u"שלום.txt"_s;
    }
    void fileNameOfATitle() {
        QFETCH(QString, title);
        QFETCH(QString, fileName);
        QCOMPARE(conversationFileName(title), fileName);
    }

    // The sender in front of a channel message, and the badge its avatar shows.
    void splitChannelSender_data() {
        QTest::addColumn<QString>("text");
        QTest::addColumn<QString>("sender");
        QTest::addColumn<QString>("body");
        QTest::addColumn<QString>("badge");
        const QString forty(40, u'a');
        const QString fortyOne(41, u'a');
        QTest::newRow("sender") << u"alice: hi"_s << u"alice"_s << u"hi"_s << u"A"_s;
        QTest::newRow("first separator only")
            << u"Bob: note: x"_s << u"Bob"_s << u"note: x"_s << u"B"_s;
        QTest::newRow("40 characters") << forty + u": yo"_s << forty << u"yo"_s << u"A"_s;
        QTest::newRow("41 characters")
            << fortyOne + u": yo"_s << QString() << fortyOne + u": yo"_s << u"?"_s;
        // 40 emoji are 80 UTF-16 units but 40 characters, and no letter.
        const QString emoji = u"\U0001F600"_s.repeated(40);
        QTest::newRow("40 emoji") << emoji + u": yo"_s << emoji << u"yo"_s << u"?"_s;
        QTest::newRow("line feed") << u"a\nb: c"_s << QString() << u"a\nb: c"_s << u"?"_s;
        QTest::newRow("empty candidate") << u": hi"_s << QString() << u": hi"_s << u"?"_s;
        QTest::newRow("colon without space") << u"a:b"_s << QString() << u"a:b"_s << u"?"_s;
        QTest::newRow("empty body") << u"Al: "_s << u"Al"_s << QString() << u"A"_s;
        QTest::newRow("badge skips symbols") << u"_-7bob: x"_s << u"_-7bob"_s << u"x"_s << u"7"_s;
        QTest::newRow("badge after an emoji")
            << u"\U0001F600zed: x"_s << u"\U0001F600zed"_s << u"x"_s << u"Z"_s;
        QTest::newRow("accented badge")
            << u"e\u0301mile: x"_s << u"e\u0301mile"_s << u"x"_s << u"E\u0301"_s;
    }

    void splitChannelSender() {
        QFETCH(QString, text);
        const ChannelSender result = ViewLogic::splitChannelSender(text);
        QTEST(result.sender, "sender");
        QTEST(result.body, "body");
        QTEST(senderBadgeText(result.sender), "badge");
    }

    void senderColorIndex_data() {
        QTest::addColumn<QString>("name");
        QTest::addColumn<int>("index");
        // FNV-1a 32-bit: "" 0x811c9dc5, "foobar" 0xbf9cf968.
        QTest::newRow("empty") << QString() << 1;
        QTest::newRow("foobar") << u"foobar"_s << int(0xbf9cf968u % 12);
        // "é" hashes its two UTF-8 bytes c3 a9, not the UTF-16 unit.
        QTest::newRow("utf-8 bytes")
            << u"\u00e9"_s << int(((((0x811c9dc5u ^ 0xc3u) * 16777619u) ^ 0xa9u) * 16777619u) % 12);
    }

    void senderColorIndex() {
        QFETCH(QString, name);
        QTEST(ViewLogic::senderColorIndex(name), "index");
    }

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
        QTEST(ViewLogic::snrTint(snr), "tint");
    }

    // The delivery report's lines in order, each as "symbol, tint: text";
    // only what is known is listed, the timeout only while unconfirmed.
    void reportLines_data() {
        QTest::addColumn<ChatMessage>("message");
        QTest::addColumn<QStringList>("lines");
        QTest::addColumn<int>("secondsLater"); // when the report is read; -1: unknown
        const QString date = u"calendar, secondary: 3 Feb 2024 14:05:09"_s;
        QTest::newRow("nothing optional")
            << outgoing(State::sending) << QStringList{u"clock, secondary: Sending…"_s, date} << -1;

        ChatMessage full = outgoing(State::sent);
        full.hopCount = 2;
        full.roundTripMillis = 1260;
        full.snr = -7.25;
        full.estimatedTimeoutMillis = 12000;
        QTest::newRow("sent with everything")
            << full
            << QStringList{u"checkmark, secondary: Sent, waiting for confirmation"_s,
                           u"arrow.triangle.swap, secondary: Relayed over 2 hops"_s,
                           u"timer, secondary: Round trip 1.3 s"_s,
                           QStringLiteral("antenna.radiowaves.left.and.right, red: "
                                          "Signal-to-noise -7.25 dB"),
                           u"hourglass, secondary: Expected within 12.0 s"_s,
                           date}
            << -1;
        ChatMessage waiting = outgoing(State::sent);
        waiting.estimatedTimeoutMillis = 6000;
        const QString sent = u"checkmark, secondary: Sent, waiting for confirmation"_s;
        QTest::newRow("sent, twice its time gone")
            << waiting << QStringList{sent, u"hourglass, secondary: Expected within 6.0 s"_s, date}
            << 12;
        QTest::newRow("sent, long past its time")
            << waiting
            << QStringList{sent, u"hourglass, orange: Not confirmed within 6.0 s"_s, date} << 13;
        ChatMessage delivered = full;
        delivered.deliveryState = State::delivered;
        delivered.hopCount = 1;
        delivered.snr = 6.25;
        QTest::newRow("delivered, one hop")
            << delivered
            << QStringList{u"checkmark.circle.fill, green: Delivered"_s,
                           u"arrow.triangle.swap, secondary: Relayed over 1 hop"_s,
                           u"timer, secondary: Round trip 1.3 s"_s,
                           QStringLiteral("antenna.radiowaves.left.and.right, green: "
                                          "Signal-to-noise 6.25 dB"),
                           date}
            << 600;
        ChatMessage failed = outgoing(State::failed);
        failed.hopCount = 0;
        QTest::newRow("failed, direct")
            << failed
            << QStringList{u"exclamationmark.triangle.fill, red: Failed to send"_s,
                           u"arrow.up.right, secondary: Direct, no hops"_s, date}
            << 600;
    }

    void reportLines() {
        QFETCH(ChatMessage, message);
        QFETCH(int, secondsLater);
        const QDateTime now =
            secondsLater < 0 ? QDateTime() : message.timestamp.addSecs(secondsLater);
        QStringList lines;
        for (const ReportLine& line : ViewLogic::reportLines(message, english, now))
            lines << u"%1, %2: %3"_s.arg(line.symbol, tintName(line.tint), line.text.text());
        QTEST(lines, "lines");
    }

    // The footer's parts, all but the time for outgoing messages only; the
    // hop count shows even for a direct delivery. Its state mark per state
    // is the report's first line above.
    void footer() {
        ChatMessage message = outgoing(State::failed);
        message.hopCount = 0;
        message.roundTripMillis = 2340;
        message.snr = 5;
        BubbleFooter footer = bubbleFooter(message, english);
        QCOMPARE(footer.time, u"14:05"_s);
        QCOMPARE(footer.snr, u"\u00B7 5\u00A0dB"_s);
        QCOMPARE(footer.snrTint, Tint::green);
        QVERIFY(footer.outgoing);
        QCOMPARE(footer.hops, u"0"_s);
        QCOMPARE(footer.roundTrip, u"\u00B7 2.3\u00A0s"_s);
        QCOMPARE(footer.stateSymbol, u"exclamationmark.triangle.fill"_s);
        QCOMPARE(footer.stateTint, Tint::red);

        message.direction = ChatMessage::Direction::incoming;
        footer = bubbleFooter(message, english);
        QVERIFY(!footer.outgoing && !footer.hops && !footer.roundTrip);
        QVERIFY(footer.stateSymbol.isEmpty());
    }
};

QTEST_GUILESS_MAIN(TestChatTexts)
#include "test_chat_texts.moc"
