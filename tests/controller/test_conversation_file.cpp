// The exact JSON shape of conversations.json, both ways.

#include "controller/conversation_store.h"
#include "history_samples.h"
#include "test_support.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QTest>

namespace {

const QString aliceKey =
    QStringLiteral("3f1a9c0de2b4f60718293a4b5c6d7e8f90a1b2c3d4e5f60718293a4b5c6d7e8f");

// 2025-01-01 00:00:00 UTC is 757382400 seconds after 2001-01-01.
QDateTime at(qint64 msecsAfter2025) {
    return QDateTime(QDate(2025, 1, 1), QTime(0, 0), Qt::UTC).addMSecs(msecsAfter2025);
}

// Written by hand in the file's shape, so the test does not depend on the
// encoder it checks.
const char handWritten[] = R"json([
 {"target":{"contact":{"_0":"3f1a9c0de2b4f60718293a4b5c6d7e8f90a1b2c3d4e5f60718293a4b5c6d7e8f"}},
  "messages":[
   {"id":"6F9619FF-8B86-D011-B42D-00C04FC964FF","direction":{"incoming":{}},
    "text":"Hello \"there\"\n\\ \u00fc \ud83d\udce1","timestamp":757382400.25,"snr":-7.25,
    "deliveryState":{"delivered":{}},"pathLength":2},
   {"id":"0A1B2C3D-4E5F-4061-8273-94A5B6C7D8E9","direction":{"outgoing":{}},
    "text":"On my way","timestamp":757382460.5,"deliveryState":{"delivered":{}},
    "expectedAck":4294967295,"roundTripMillis":1830,"hopCount":0,"estimatedTimeoutMillis":6400}
  ],
  "lastActivity":757382460.5,"unreadCount":1},
 {"target":{"channel":{"_0":3}},
  "messages":[
   {"id":"11111111-2222-4333-8444-555555555555","direction":{"outgoing":{}},
    "text":"","timestamp":-31.001,"deliveryState":{"sending":{}}}
  ],
  "lastActivity":-31.001,"unreadCount":9007199254740993},
 {"target":{"channel":{"_0":0}},"messages":[],"lastActivity":-63114076800,"unreadCount":0}
])json";

QList<Conversation> handBuilt() {
    ChatMessage hello;
    hello.id = QUuid::fromString(QStringLiteral("6f9619ff-8b86-d011-b42d-00c04fc964ff"));
    hello.direction = ChatMessage::Direction::incoming;
    hello.text = QStringLiteral("Hello \"there\"\n\\ \u00fc ") + QString::fromUcs4(U"\U0001F4E1");
    hello.timestamp = at(250);
    hello.snr = -7.25;
    hello.deliveryState = ChatMessage::DeliveryState::delivered;
    hello.pathLength = 2;

    ChatMessage reply;
    reply.id = QUuid::fromString(QStringLiteral("0a1b2c3d-4e5f-4061-8273-94a5b6c7d8e9"));
    reply.direction = ChatMessage::Direction::outgoing;
    reply.text = QStringLiteral("On my way");
    reply.timestamp = at(60500);
    reply.deliveryState = ChatMessage::DeliveryState::delivered;
    reply.expectedAck = 4294967295u;
    reply.roundTripMillis = 1830;
    reply.hopCount = 0;
    reply.estimatedTimeoutMillis = 6400;

    ChatMessage early;
    early.id = QUuid::fromString(QStringLiteral("11111111-2222-4333-8444-555555555555"));
    early.direction = ChatMessage::Direction::outgoing;
    early.timestamp = QDateTime(QDate(2000, 12, 31), QTime(23, 59, 28, 999), Qt::UTC);
    early.deliveryState = ChatMessage::DeliveryState::sending;

    Conversation alice{ConversationID::contact(aliceKey), {hello, reply}, reply.timestamp, 1};
    Conversation channel3{ConversationID::channel(3), {early}, early.timestamp, 9007199254740993};
    Conversation channel0{ConversationID::channel(0), {}, distantPast(), 0};
    return {alice, channel3, channel0};
}

QJsonValue parse(const QByteArray& json) {
    QJsonParseError error;
    const QJsonDocument document = QJsonDocument::fromJson(json, &error);
    if (error.error != QJsonParseError::NoError)
        qWarning() << "invalid JSON:" << error.errorString() << "at" << error.offset;
    return document.isArray() ? QJsonValue(document.array()) : QJsonValue(document.object());
}

bool isInteger(const QJsonValue& v) {
    return v.toVariant().typeId() == QMetaType::LongLong;
}

// Structural equality where member order does not matter but the kind of
// number does: an integer must be written as an integer.
bool sameJson(const QJsonValue& a, const QJsonValue& b,
              const QString& where = QStringLiteral("$")) {
    auto differ = [&](const char* why) {
        qWarning().noquote() << where << why << a << "vs" << b;
        return false;
    };
    if (a.type() != b.type())
        return differ("types differ");
    if (a.isDouble()) {
        if (isInteger(a) != isInteger(b))
            return differ("integer vs fraction");
        return a.toDouble() == b.toDouble() && a.toInteger() == b.toInteger()
                   ? true
                   : differ("numbers differ");
    }
    if (a.isArray()) {
        const QJsonArray x = a.toArray(), y = b.toArray();
        if (x.size() != y.size())
            return differ("array sizes differ");
        for (qsizetype i = 0; i < x.size(); ++i)
            if (!sameJson(x[i], y[i], where + QStringLiteral("[%1]").arg(i)))
                return false;
        return true;
    }
    if (a.isObject()) {
        const QJsonObject x = a.toObject(), y = b.toObject();
        if (x.keys() != y.keys())
            return differ("members differ");
        for (auto it = x.begin(); it != x.end(); ++it)
            if (!sameJson(it.value(), y.value(it.key()), where + QLatin1Char('.') + it.key()))
                return false;
        return true;
    }
    return a == b ? true : differ("values differ");
}

// One valid file with the given text in place of a conversation's messages or
// of a whole conversation.
QByteArray withMessage(const char* message) {
    return QByteArrayLiteral(R"([{"target":{"channel":{"_0":1}},"messages":[)") + message +
           QByteArrayLiteral(R"(],"lastActivity":0,"unreadCount":0}])");
}

QByteArray withConversation(const char* conversation) {
    return QByteArrayLiteral("[") + conversation + QByteArrayLiteral("]");
}

const char goodMessage[] =
    R"({"id":"6F9619FF-8B86-D011-B42D-00C04FC964FF","direction":{"incoming":{}},"text":"x",)"
    R"("timestamp":1,"deliveryState":{"delivered":{}}})";

} // namespace

class TestConversationFile : public QObject {
    Q_OBJECT

private slots:
    void initTestCase() { TestSupport::isolateFromUserFiles(); }

    void decodesTheHandWrittenFile() {
        const auto decoded = decodeConversations(handWritten);
        QVERIFY(decoded.has_value());
        const QList<Conversation> expected = handBuilt();
        QCOMPARE(decoded->size(), expected.size());
        for (qsizetype i = 0; i < expected.size(); ++i) {
            QCOMPARE(decoded->at(i).target, expected[i].target);
            QCOMPARE(decoded->at(i).messages.size(), expected[i].messages.size());
            for (qsizetype j = 0; j < expected[i].messages.size(); ++j) {
                const ChatMessage& got = decoded->at(i).messages[j];
                const ChatMessage& want = expected[i].messages[j];
                QCOMPARE(got.id, want.id);
                QCOMPARE(got.text, want.text);
                QCOMPARE(got.timestamp, want.timestamp);
                QCOMPARE(got.snr, want.snr);
                QVERIFY(got == want);
            }
            QCOMPARE(decoded->at(i).lastActivity, expected[i].lastActivity);
            QCOMPARE(decoded->at(i).unreadCount, expected[i].unreadCount);
        }
        QVERIFY(*decoded == expected);
    }

    void encodesTheHandWrittenShape() {
        const QByteArray encoded = encodeConversations(handBuilt());
        QVERIFY(sameJson(parse(encoded), parse(handWritten)));
        // Compact, and the UUIDs in canonical upper-case form.
        QVERIFY(!encoded.contains('\n'));
        QVERIFY(!encoded.contains(": "));
        QVERIFY(encoded.contains("\"0A1B2C3D-4E5F-4061-8273-94A5B6C7D8E9\""));
    }

    // Encoded a block at a time, the bytes are those of the one-array
    // encoding, whatever the block's size; a sink that refuses a block ends
    // the encoding there.
    void streamsTheSameBytes_data() {
        QTest::addColumn<int>("conversations");
        QTest::addColumn<int>("messages"); // 5,000 in 3: over a chunk each
        QTest::addColumn<int>("blockBytes");
        QTest::addColumn<int>("refusedBlock"); // -1: none
        QTest::newRow("one byte") << 2 << 20 << 1 << -1;
        QTest::newRow("4 KiB, several chunks") << 3 << 5'000 << 4096 << -1;
        QTest::newRow("1 MiB, several chunks") << 3 << 5'000 << (1 << 20) << -1;
        QTest::newRow("larger than the history") << 3 << 5'000 << (1 << 24) << -1;
        QTest::newRow("no conversations") << 0 << 0 << 4096 << -1;
        QTest::newRow("the third block refused") << 3 << 5'000 << 4096 << 2;
    }
    void streamsTheSameBytes() {
        QFETCH(int, conversations);
        QFETCH(int, messages);
        QFETCH(int, blockBytes);
        QFETCH(int, refusedBlock);
        const QList<Conversation> history = HistorySamples::history(conversations, messages);
        const QByteArray whole = encodeConversations(history);
        QByteArray streamed;
        int blocks = 0;
        const bool done = encodeConversations(history, blockBytes, [&](QByteArrayView block) {
            if (blocks++ == refusedBlock)
                return false;
            // Out between messages, each message (a few hundred bytes) at most once over.
            if (block.size() > blockBytes + 1024 && blockBytes > 1)
                return false;
            streamed += block;
            return true;
        });
        if (refusedBlock >= 0) {
            QVERIFY(!done);
            QCOMPARE(blocks, refusedBlock + 1);
            QVERIFY(whole.startsWith(streamed));
            return;
        }
        QVERIFY(done);
        QCOMPARE(streamed.size(), whole.size());
        QVERIFY(streamed == whole);
        QVERIFY(blocks >= whole.size() / std::max(blockBytes, 1024) / 2);
    }

    void leavesOutOptionalMembers() {
        ChatMessage bare;
        bare.id = QUuid::createUuid();
        bare.text = QStringLiteral("plain");
        bare.timestamp = at(0);
        const QList<Conversation> list{{ConversationID::channel(5), {bare}, at(0), 0}};

        const QByteArray encoded = encodeConversations(list);
        QVERIFY(!encoded.contains("null"));
        const QJsonObject message =
            parse(encoded).toArray()[0].toObject()[QStringLiteral("messages")][0].toObject();
        const QStringList expectedKeys{QStringLiteral("deliveryState"), QStringLiteral("direction"),
                                       QStringLiteral("id"), QStringLiteral("text"),
                                       QStringLiteral("timestamp")};
        QCOMPARE(message.keys(), expectedKeys);

        const auto decoded = decodeConversations(encoded);
        QVERIFY(decoded.has_value());
        const ChatMessage& back = decoded->at(0).messages[0];
        QVERIFY(!back.snr && !back.expectedAck && !back.pathLength && !back.roundTripMillis &&
                !back.hopCount && !back.estimatedTimeoutMillis);
        QVERIFY(*decoded == list);
    }

    void roundTripsAwkwardValues_data() {
        QTest::addColumn<QString>("text");
        QTest::addColumn<QDateTime>("timestamp");
        QTest::addColumn<double>("snr");

        QTest::newRow("controls") << QStringLiteral("a\u0001b\u001fc\td\re\nf\u007f") << at(1)
                                  << 0.1;
        QTest::newRow("quotes") << QStringLiteral(R"("\"\\/)") << at(-1) << -0.25;
        QTest::newRow("non-BMP") << QString::fromUcs4(U"\U0001F600 \u00e9\u4e2d")
                                 << QDateTime::fromMSecsSinceEpoch(0, Qt::UTC)
                                 << 12.345678901234567;
        QTest::newRow("before 2001")
            << QStringLiteral("old")
            << QDateTime(QDate(1969, 7, 20), QTime(20, 17, 40, 123), Qt::UTC) << 1e-300;
        QTest::newRow("far future")
            << QStringLiteral("late")
            << QDateTime(QDate(9999, 12, 31), QTime(23, 59, 59, 999), Qt::UTC) << -1e300;
        QTest::newRow("odd millis") << QString() << at(123456789) << 5e-324;
        QTest::newRow("long text") << QString(5000, QChar(u'\u00e9')) << at(7) << 0.1;
        QTest::newRow("seventeen digits") << QStringLiteral("x") << at(1) << -123.45678901234567;
    }

    void roundTripsAwkwardValues() {
        QFETCH(QString, text);
        QFETCH(QDateTime, timestamp);
        QFETCH(double, snr);

        ChatMessage m;
        m.id = QUuid::createUuid();
        m.text = text;
        m.timestamp = timestamp;
        m.snr = snr;
        const QList<Conversation> list{
            {ConversationID::contact(text), {m}, timestamp, std::numeric_limits<qint64>::min()}};

        const QByteArray encoded = encodeConversations(list);
        QVERIFY(parse(encoded).isArray()); // valid JSON
        const auto decoded = decodeConversations(encoded);
        QVERIFY(decoded.has_value());
        QCOMPARE(decoded->at(0).messages[0].text, text);
        QCOMPARE(decoded->at(0).messages[0].timestamp, timestamp);
        QCOMPARE(decoded->at(0).messages[0].snr, std::optional<double>(snr));
        QVERIFY(*decoded == list);
    }

    // A file's texts are read into shared blocks: every length, around the
    // block's size and the longest text that shares one, reads back as
    // written, ends in a zero, outlives its neighbours and is replaced alone.
    void readsTextsOfEveryLength_data() {
        QTest::addColumn<QList<int>>("lengths");
        QTest::newRow("empty and one byte") << QList<int>{0, 1, 0};
        QTest::newRow("around the longest shared") << QList<int>{4095, 4096, 4097, 3};
        QTest::newRow("longer than a block") << QList<int>{10, 70000, 10};
        QTest::newRow("filling blocks") << QList<int>(200, 1000);
    }
    void readsTextsOfEveryLength() {
        QFETCH(QList<int>, lengths);
        QList<Conversation> list{{ConversationID::channel(1), {}, at(0), 0}};
        for (int i = 0; i < lengths.size(); ++i) {
            ChatMessage m;
            m.id = QUuid::createUuid();
            // Two-byte characters, an ASCII one where the length is odd.
            m.text = QString(lengths[i] / 2, QChar(u'\u00e9')) +
                     QString(lengths[i] % 2, QChar(u'a' + i % 26));
            m.timestamp = at(i);
            list[0].messages.append(m);
        }
        auto decoded = decodeConversations(encodeConversations(list));
        QVERIFY(decoded.has_value());
        QVERIFY(*decoded == list);
        MessageList messages = decoded->at(0).messages;
        for (const ChatMessage& m : messages) {
            const QByteArrayView utf8 = m.text.utf8();
            QVERIFY(utf8.isEmpty() || utf8.data()[utf8.size()] == '\0');
        }
        const qsizetype last = messages.size() - 1;
        const ChatMessage kept = messages.at(last);
        decoded.reset();
        ChatMessage changed = messages.at(0);
        changed.text = QStringLiteral("changed");
        messages[0] = changed;
        for (qsizetype row = 1; row < messages.size(); ++row)
            QCOMPARE(messages.at(row).text, list[0].messages.at(row).text);
        messages.clear();
        QCOMPARE(kept.text, list[0].messages.at(last).text);
    }

    void readsDates_data() {
        QTest::addColumn<QByteArray>("seconds");
        QTest::addColumn<QDateTime>("expected");

        const QDateTime reference(QDate(2001, 1, 1), QTime(0, 0), Qt::UTC);
        QTest::newRow("reference") << QByteArray("0") << reference;
        QTest::newRow("fraction") << QByteArray("757382400.25") << at(250);
        QTest::newRow("rounds down") << QByteArray("0.0004") << reference;
        QTest::newRow("rounds up") << QByteArray("0.0006") << reference.addMSecs(1);
        QTest::newRow("negative rounds") << QByteArray("-0.0016") << reference.addMSecs(-2);
        QTest::newRow("exponent") << QByteArray("7.573824e8") << at(0);
        QTest::newRow("platform distant past") << QByteArray("-63114076800") << distantPast();
        QTest::newRow("own distant past") << QByteArray("-63113904000") << distantPast();
        QTest::newRow("before everything") << QByteArray("-1e300") << distantPast();
        QTest::newRow("beyond double range") << QByteArray("-1e400") << distantPast();
        QTest::newRow("clamped far future")
            << QByteArray("1e400") << reference.addMSecs(qint64(1e16));
        QTest::newRow("more digits than a double holds")
            << QByteArray("757382400.12345678") << at(123);
        QTest::newRow("fraction and exponent") << QByteArray("7.573824005e8") << at(500);
        QTest::newRow("many leading zeros")
            << QByteArray("0.0000000000000000000000009") << reference;
        QTest::newRow("just after distant past")
            << QByteArray("-63113903999.5") << distantPast().addMSecs(500);
    }

    void readsDates() {
        QFETCH(QByteArray, seconds);
        QFETCH(QDateTime, expected);

        const QByteArray json = QByteArrayLiteral(R"([{"target":{"channel":{"_0":1}},)") +
                                R"("messages":[],"lastActivity":)" + seconds +
                                R"(,"unreadCount":0}])";
        const auto decoded = decodeConversations(json);
        QVERIFY(decoded.has_value());
        QCOMPARE(decoded->at(0).lastActivity, expected);
    }

    void writesDates_data() {
        QTest::addColumn<QDateTime>("date");
        QTest::addColumn<double>("seconds");

        QTest::newRow("fraction") << at(250) << 757382400.25;
        QTest::newRow("before 2001") << at(0).addYears(-24).addMSecs(-1) << -0.001;
        QTest::newRow("distant past") << distantPast() << -63114076800.0;
    }

    void writesDates() {
        QFETCH(QDateTime, date);
        QFETCH(double, seconds);

        const QJsonValue file =
            parse(encodeConversations({{ConversationID::channel(0), {}, date, 0}}));
        QCOMPARE(file.toArray()[0].toObject()[QStringLiteral("lastActivity")].toDouble(), seconds);
    }

    void acceptsLenientInput_data() {
        QTest::addColumn<QByteArray>("json");

        QTest::newRow("empty array") << QByteArray("[]");
        QTest::newRow("whitespace around") << QByteArray(" \n[ ]\n");
        QTest::newRow("null optionals") << withMessage(
            R"({"id":"6F9619FF-8B86-D011-B42D-00C04FC964FF","direction":{"incoming":{}},)"
            R"("text":"x","timestamp":1,"snr":null,"deliveryState":{"delivered":{}},)"
            R"("expectedAck":null,"pathLength":null,"roundTripMillis":null,"hopCount":null,)"
            R"("estimatedTimeoutMillis":null})");
        // Written without a value, as the writer leaves out what JSON has no
        // number for, so that what loads is what a save writes back.
        QTest::newRow("snr beyond double range") << withMessage(
            R"({"id":"6F9619FF-8B86-D011-B42D-00C04FC964FF","direction":{"incoming":{}},)"
            R"("text":"x","timestamp":1,"snr":-1e999,"deliveryState":{"delivered":{}}})");
        QTest::newRow("lower-case UUID") << withMessage(
            R"({"id":"6f9619ff-8b86-d011-b42d-00c04fc964ff","direction":{"incoming":{}},)"
            R"("text":"x","timestamp":1,"deliveryState":{"delivered":{}}})");
        QTest::newRow("unknown member") << withMessage(
            R"({"id":"6F9619FF-8B86-D011-B42D-00C04FC964FF","direction":{"incoming":{}},)"
            R"("text":"x","timestamp":1,"deliveryState":{"delivered":{}},"reactions":[]})");
        QTest::newRow("escaped member names") << withMessage(
            R"({"\u0069d":"6F9619FF-8B86-D011-B42D-00C04FC964FF","direction":{"incoming":{}},)"
            R"("te\u0078t":"x","timestamp":1,"deliveryState":{"delivered":{}}})");
        QTest::newRow("whole number as fraction") << withConversation(
            R"({"target":{"channel":{"_0":1.0}},"messages":[],"lastActivity":0,"unreadCount":3e0})");
        QTest::newRow("nested unknown member") << withConversation(
            R"({"target":{"channel":{"_0":1}},"messages":[],"lastActivity":0,"unreadCount":0,)"
            R"("extra":{"a":[1,2.5e-3,{"b":[true,false,null,"s"]}]}})");
        QTest::newRow("largest code point and a noncharacter") << withMessage(
            "{\"id\":\"6F9619FF-8B86-D011-B42D-00C04FC964FF\",\"direction\":{\"incoming\":{}},"
            "\"text\":\"\xf4\x8f\xbf\xbf \xef\xbf\xbe\",\"timestamp\":1,"
            "\"deliveryState\":{\"sent\":{}}}");
        QTest::newRow("contact prefix target") << withConversation(
            R"({"target":{"contact":{"_0":"3f1a9c0de2b4"}},"messages":[],"lastActivity":0,)"
            R"("unreadCount":0})");
    }

    void acceptsLenientInput() {
        QFETCH(QByteArray, json);
        const auto decoded = decodeConversations(json);
        QVERIFY(decoded.has_value());
        for (const Conversation& c : *decoded)
            for (const ChatMessage& m : c.messages) {
                QVERIFY(!m.id.isNull());
                QVERIFY(!m.snr && !m.expectedAck && !m.pathLength && !m.roundTripMillis &&
                        !m.hopCount && !m.estimatedTimeoutMillis);
            }
    }

    void rejectsBadFiles_data() {
        QTest::addColumn<QByteArray>("json");

        // The whole file and its conversations.
        QTest::newRow("empty file") << QByteArray();
        QTest::newRow("not JSON") << QByteArray("conversations");
        QTest::newRow("truncated") << QByteArray(handWritten).left(300);
        QTest::newRow("trailing garbage") << QByteArray("[] x");
        QTest::newRow("invalid UTF-8") << withMessage(
            "{\"id\":\"6F9619FF-8B86-D011-B42D-00C04FC964FF\",\"direction\":{\"incoming\":{}},"
            "\"text\":\"\xc3\x28\",\"timestamp\":1,\"deliveryState\":{\"sent\":{}}}");
        // The reader checks UTF-8 string by string: bytes beyond ASCII are
        // only valid inside strings, wherever those are.
        const auto withText = [](const char* text) {
            return withMessage((QByteArrayLiteral(R"({"id":"6F9619FF-8B86-D011-B42D-00C04FC964FF",)"
                                                  R"("direction":{"incoming":{}},"text":")") +
                                text + R"(","timestamp":1,"deliveryState":{"sent":{}}})")
                                   .constData());
        };
        QTest::newRow("UTF-8 cut short before the quote") << withText("ok \xe2\x82");
        QTest::newRow("overlong UTF-8") << withText("\xc0\xaf");
        QTest::newRow("invalid UTF-8 far into a text")
            << withText("a longer text, past the first sixteen bytes: \xf0\x9f\x93");
        QTest::newRow("surrogate in UTF-8") << withText("\xed\xa0\x80");
        QTest::newRow("invalid UTF-8 after an escape") << withText("a\\n\xff");
        QTest::newRow("lone continuation byte") << withText("\x80");
        QTest::newRow("past the last code point") << withText("\xf4\x90\x80\x80");
        QTest::newRow("overlong three bytes") << withText("\xe0\x80\xaf");
        QTest::newRow("overlong four bytes") << withText("\xf0\x80\x80\xaf");
        QTest::newRow("invalid UTF-8 after valid") << withText("Stra\xc3\x9f"
                                                               "e ok \xc3");
        QTest::newRow("invalid UTF-8 a block after valid")
            << withText("\xe2\x98\x95 sixteen bytes on \xa9");
        QTest::newRow("invalid UTF-8 in a member name")
            << withMessage((QByteArray(goodMessage).chopped(1) + ",\"n\xff\":1}").constData());
        QTest::newRow("invalid UTF-8 in an unknown member") << withMessage(
            (QByteArray(goodMessage).chopped(1) + R"(,"note":["a",")" + "\xc3\x28" + "\"]}")
                .constData());
        QTest::newRow("UTF-8 outside strings")
            << withConversation(R"({"target":{"channel":{"_0":1}},"messages":[])"
                                "\xc2\xa0"
                                R"(,"lastActivity":0,"unreadCount":0})");
        QTest::newRow("raw control in text") << withMessage(
            "{\"id\":\"6F9619FF-8B86-D011-B42D-00C04FC964FF\",\"direction\":{\"incoming\":{}},"
            "\"text\":\"a\nb\",\"timestamp\":1,\"deliveryState\":{\"sent\":{}}}");
        QTest::newRow("bad escape") << withMessage(
            R"({"id":"6F9619FF-8B86-D011-B42D-00C04FC964FF","direction":{"incoming":{}},)"
            R"("text":"\x41","timestamp":1,"deliveryState":{"sent":{}}})");
        QTest::newRow("leading zero") << withConversation(
            R"({"target":{"channel":{"_0":01}},"messages":[],"lastActivity":0,"unreadCount":0})");
        QTest::newRow("bare minus") << withConversation(
            R"({"target":{"channel":{"_0":1}},"messages":[],"lastActivity":-,"unreadCount":0})");
        QTest::newRow("trailing comma") << withConversation(
            R"({"target":{"channel":{"_0":1}},"messages":[],"lastActivity":0,"unreadCount":0,})");
        QTest::newRow("bad literal in unknown member") << withConversation(
            R"({"target":{"channel":{"_0":1}},"messages":[],"lastActivity":0,"unreadCount":0,)"
            R"("extra":nul})");
        QTest::newRow("object at top") << QByteArray(R"({"target":1})");
        QTest::newRow("element not object") << QByteArray("[1]");
        QTest::newRow("no target")
            << withConversation(R"({"messages":[],"lastActivity":0,"unreadCount":0})");
        QTest::newRow("no messages") << withConversation(
            R"({"target":{"channel":{"_0":1}},"lastActivity":0,"unreadCount":0})");
        QTest::newRow("no lastActivity")
            << withConversation(R"({"target":{"channel":{"_0":1}},"messages":[],"unreadCount":0})");
        QTest::newRow("no unreadCount") << withConversation(
            R"({"target":{"channel":{"_0":1}},"messages":[],"lastActivity":0})");
        QTest::newRow("messages not array") << withConversation(
            R"({"target":{"channel":{"_0":1}},"messages":{},"lastActivity":0,"unreadCount":0})");
        QTest::newRow("lastActivity text") << withConversation(
            R"({"target":{"channel":{"_0":1}},"messages":[],"lastActivity":"0","unreadCount":0})");
        QTest::newRow("unreadCount fraction") << withConversation(
            R"({"target":{"channel":{"_0":1}},"messages":[],"lastActivity":0,"unreadCount":1.5})");

        // Targets.
        QTest::newRow("target two cases") << withConversation(
            R"({"target":{"channel":{"_0":1},"contact":{"_0":"ab"}},"messages":[],)"
            R"("lastActivity":0,"unreadCount":0})");
        QTest::newRow("target no case")
            << withConversation(R"({"target":{},"messages":[],"lastActivity":0,"unreadCount":0})");
        QTest::newRow("target unknown case") << withConversation(
            R"({"target":{"room":{"_0":1}},"messages":[],"lastActivity":0,"unreadCount":0})");
        QTest::newRow("target no payload") << withConversation(
            R"({"target":{"channel":{}},"messages":[],"lastActivity":0,"unreadCount":0})");
        QTest::newRow("channel index text") << withConversation(
            R"({"target":{"channel":{"_0":"3"}},"messages":[],"lastActivity":0,"unreadCount":0})");
        QTest::newRow("contact key number") << withConversation(
            R"({"target":{"contact":{"_0":12}},"messages":[],"lastActivity":0,"unreadCount":0})");

        // Messages: missing members.
        QTest::newRow("no id") << withMessage(
            R"({"direction":{"incoming":{}},"text":"x","timestamp":1,"deliveryState":{"sent":{}}})");
        QTest::newRow("no direction") << withMessage(
            R"({"id":"6F9619FF-8B86-D011-B42D-00C04FC964FF","text":"x","timestamp":1,)"
            R"("deliveryState":{"sent":{}}})");
        QTest::newRow("no text") << withMessage(
            R"({"id":"6F9619FF-8B86-D011-B42D-00C04FC964FF","direction":{"incoming":{}},)"
            R"("timestamp":1,"deliveryState":{"sent":{}}})");
        QTest::newRow("no timestamp") << withMessage(
            R"({"id":"6F9619FF-8B86-D011-B42D-00C04FC964FF","direction":{"incoming":{}},)"
            R"("text":"x","deliveryState":{"sent":{}}})");
        QTest::newRow("no deliveryState") << withMessage(
            R"({"id":"6F9619FF-8B86-D011-B42D-00C04FC964FF","direction":{"incoming":{}},)"
            R"("text":"x","timestamp":1})");

        // Enumerations.
        const auto direction = [](const char* value) {
            return withMessage((QByteArrayLiteral(R"({"id":"6F9619FF-8B86-D011-B42D-00C04FC964FF",)"
                                                  R"("direction":)") +
                                value + R"(,"text":"x","timestamp":1,"deliveryState":{"sent":{}}})")
                                   .constData());
        };
        QTest::newRow("direction two members") << direction(R"({"incoming":{},"outgoing":{}})");
        QTest::newRow("direction unknown case") << direction(R"({"sideways":{}})");
        QTest::newRow("direction as text") << direction(R"("incoming")");
        QTest::newRow("direction case not object") << direction(R"({"incoming":true})");
        QTest::newRow("deliveryState unknown case") << withMessage(
            R"({"id":"6F9619FF-8B86-D011-B42D-00C04FC964FF","direction":{"incoming":{}},)"
            R"("text":"x","timestamp":1,"deliveryState":{"read":{}}})");

        // Ids.
        const auto id = [](const char* value) {
            return withMessage((QByteArrayLiteral(R"({"id":)") + value +
                                R"(,"direction":{"incoming":{}},"text":"x","timestamp":1,)"
                                R"("deliveryState":{"sent":{}}})")
                                   .constData());
        };
        QTest::newRow("id not UUID") << id(R"("message-1")");
        QTest::newRow("id with braces") << id(R"("{6F9619FF-8B86-D011-B42D-00C04FC964FF}")");
        QTest::newRow("id hyphen moved") << id(R"("6F9619F-F8B86-D011-B42D-00C04FC964FF")");
        QTest::newRow("id number") << id("42");
        QTest::newRow("id first digit not hex") << id(R"("gF9619FF-8B86-D011-B42D-00C04FC964FF")");
        QTest::newRow("id last digit not hex") << id(R"("6F9619FF-8B86-D011-B42D-00C04FC964F ")");
        QTest::newRow("id digit past f") << id(R"("6F9619FF-8B86-D011-B42D-00C04FC964FG")");

        // Other member types and ranges.
        const auto member = [](const char* extra) {
            return withMessage(
                (QByteArray(goodMessage).chopped(1) + "," + extra + "}").constData());
        };
        QTest::newRow("text number") << withMessage(
            R"({"id":"6F9619FF-8B86-D011-B42D-00C04FC964FF","direction":{"incoming":{}},)"
            R"("text":5,"timestamp":1,"deliveryState":{"sent":{}}})");
        QTest::newRow("timestamp text") << withMessage(
            R"({"id":"6F9619FF-8B86-D011-B42D-00C04FC964FF","direction":{"incoming":{}},)"
            R"("text":"x","timestamp":"2025-01-01","deliveryState":{"sent":{}}})");
        QTest::newRow("snr text") << member(R"("snr":"7")");
        QTest::newRow("expectedAck negative") << member(R"("expectedAck":-1)");
        QTest::newRow("expectedAck too big") << member(R"("expectedAck":4294967296)");
        QTest::newRow("roundTripMillis fraction") << member(R"("roundTripMillis":1.5)");
        QTest::newRow("hopCount too big") << member(R"("hopCount":2147483648)");
        QTest::newRow("estimatedTimeoutMillis bool") << member(R"("estimatedTimeoutMillis":true)");
        QTest::newRow("message not object") << withMessage("[]");
        QTest::newRow("one bad among good")
            << withMessage((QByteArray(goodMessage) + "," + goodMessage + ",{}").constData());
    }

    void rejectsBadFiles() {
        QFETCH(QByteArray, json);
        QVERIFY(!decodeConversations(json).has_value());
    }

    // Any cut of a file, at every byte, is no history (and never a crash).
    void rejectsEveryCutOfAFile() {
        const QByteArray whole = encodeConversations(handBuilt());
        QVERIFY(decodeConversations(whole).has_value());
        for (qsizetype size = 0; size < whole.size(); ++size)
            QVERIFY2(!decodeConversations(whole.first(size)).has_value(),
                     qPrintable(QString::number(size)));
    }

    // The reader goes front to back once: what it said it has read may be
    // let go (here it is overwritten) and the history is the same.
    void neverLooksBackAtWhatItHasRead() {
        QList<Conversation> list = HistorySamples::history(3, 40'000);
        list[1].messages[7].text = QString::fromUcs4(U"\u00e9\U0001F4E1 \"quoted\"\n");
        QByteArray bytes = encodeConversations(list);
        QList<qsizetype> reports;
        const auto decoded = decodeConversations(bytes, [&](qsizetype read) {
            reports << read;
            std::fill_n(bytes.data(), read, '#');
        });
        QVERIFY(reports.size() >= 2); // the file is some 8 MB
        QVERIFY(std::is_sorted(reports.cbegin(), reports.cend()));
        QVERIFY(decoded.has_value());
        QVERIFY(*decoded == list);
    }

    void acceptsTheMemberTemplateItself() {
        // The bad-file rows are built from this message; it must be good.
        QVERIFY(decodeConversations(withMessage(goodMessage)).has_value());
        QVERIFY(decodeConversations(
                    withMessage((QByteArray(goodMessage).chopped(1) + R"(,"snr":7})").constData()))
                    .has_value());
    }

    void keepsDuplicateTargetsInFileOrder() {
        const QByteArray json = withConversation(
            R"({"target":{"channel":{"_0":2}},"messages":[],"lastActivity":0,"unreadCount":1},)"
            R"({"target":{"channel":{"_0":2}},"messages":[],"lastActivity":0,"unreadCount":7})");
        const auto decoded = decodeConversations(json);
        QVERIFY(decoded.has_value());
        QCOMPARE(decoded->size(), 2);
        QCOMPARE(decoded->at(0).unreadCount, std::int64_t(1));
        QCOMPARE(decoded->at(1).unreadCount, std::int64_t(7));
        QCOMPARE(decoded->at(1).target.conversationKey(), QStringLiteral("channel:2"));
    }
};

QTEST_GUILESS_MAIN(TestConversationFile)
#include "test_conversation_file.moc"
