// Channel slots: choosing a free slot, the four ways to add a channel, the
// read-back, and clearing a slot.

#include "controller_rig.h"
#include "protocol/mesh_protocol.h"
#include "sim_rig.h"
#include "test_support.h"

#include <QCryptographicHash>
#include <QJSEngine>
#include <QRegularExpression>
#include <QSignalSpy>
#include <QTest>
#include <array>

using namespace std::chrono_literals;
using namespace Qt::StringLiterals;
using TestSupport::capture;
using TestSupport::captureVoid;
using TestSupport::hex;
using TestSupport::Outcome;
using TestSupport::VoidOutcome;

namespace {

const QString zeroSecret(32, QLatin1Char('0'));

// One letter per reported slot, from index 0: N named, Z empty with a zero
// secret, S empty with a non-zero secret, X empty with a secret that is not
// hex, E empty with no secret text at all.
QList<Channel> slotsFrom(const QString& letters) {
    QList<Channel> reported;
    for (int i = 0; i < letters.size(); ++i) {
        Channel channel{i, {}, zeroSecret};
        switch (letters.at(i).toLatin1()) {
        case 'N':
            channel.name = QStringLiteral("Slot %1").arg(i);
            channel.secretHex = QStringLiteral("0102030405060708090a0b0c0d0e0f10");
            break;
        case 'S':
            channel.secretHex = QStringLiteral("00000000000000000000000000000001");
            break;
        case 'X':
            channel.secretHex = QStringLiteral("not a secret");
            break;
        case 'E':
            channel.secretHex.clear();
            break;
        default:
            break;
        }
        reported << channel;
    }
    return reported;
}

// Fills `channels` through the channel synchronisation, from a link that
// reports `reported` and answers "not found" after them.
void loadSlots(ControllerRig& rig, const QList<Channel>& reported) {
    rig.link.onWrite = [&rig, reported](const QByteArray& frame) {
        if (frame.at(0) != 0x1f)
            return;
        const int index = frame.at(1);
        if (index < reported.size())
            rig.deliver(Events::ChannelInfo{reported.at(index)});
        else
            rig.deliver(Events::Error{MeshProtocol::DeviceError::notFound});
    };
    VoidOutcome sync;
    captureVoid(rig.controller->syncChannels(), &sync);
    rig.link.onWrite = nullptr;
    rig.link.written.clear();
}

QList<int> indexesOf(const QList<Channel>& channels) {
    QList<int> indexes;
    for (const Channel& channel : channels)
        indexes << channel.index;
    return indexes;
}

// 20, slot, name in 32 bytes, secret in 16.
QByteArray setChannelFrame(int index, const QByteArray& name, const QByteArray& secret) {
    return hex("20") + char(index) + name + QByteArray(32 - name.size(), '\0') + secret;
}

} // namespace

class TestChannels : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void initTestCase() { TestSupport::isolateFromUserFiles(); }

    // --- choosing the slot

    void addChannelPicksTheFirstFreeSlot_data() {
        QTest::addColumn<QString>("reported");
        QTest::addColumn<int>("expected"); // -1: none free

        QTest::newRow("nothing reported") << "" << 0;
        QTest::newRow("two named, rest free") << "NNZZZZZZ" << 2;
        QTest::newRow("empty name and zero secret is free") << "NZ" << 1;
        QTest::newRow("empty name with a secret is in use") << "SZ" << 1;
        QTest::newRow("secret that is not hex counts as none") << "NX" << 1;
        QTest::newRow("no secret text counts as none") << "NE" << 1;
        QTest::newRow("unreported slot is free") << "NNN" << 3;
        QTest::newRow("all eight in use") << "NNNNSNNN" << -1;
    }
    void addChannelPicksTheFirstFreeSlot() {
        QFETCH(QString, reported);
        QFETCH(int, expected);

        VoidOutcome outcome;
        ControllerRig rig;
        rig.connectQuietly();
        loadSlots(rig, slotsFrom(reported));
        QCOMPARE(rig.controller->channels().size(), reported.size());
        QCOMPARE(rig.controller->firstFreeChannelIndex(),
                 expected < 0 ? std::nullopt : std::optional<int>(expected));

        QSignalSpy inserted(rig.controller.get(), &MeshController::channelInserted);
        QSignalSpy changed(rig.controller.get(), &MeshController::channelChanged);
        QSignalSpy added(rig.controller.get(), &MeshController::conversationAdded);
        const QByteArray secret = hex("a0a1a2a3a4a5a6a7a8a9aaabacadaeaf");
        captureVoid(rig.controller->addChannel(QStringLiteral("New"), secret), &outcome);
        if (expected < 0) {
            QVERIFY(outcome.done);
            QCOMPARE(errorTextOf(outcome), QStringLiteral("Storage table is full"));
            QVERIFY(rig.link.written.isEmpty());
            return;
        }
        QCOMPARE(rig.link.written, QList<QByteArray>{setChannelFrame(expected, "New", secret)});
        rig.deliver(Events::Ok{});
        QCOMPARE(rig.link.written.last(), hex("1f") + char(expected));
        const Channel stored{expected, QStringLiteral("New"),
                             QStringLiteral("a0a1a2a3a4a5a6a7a8a9aaabacadaeaf")};
        rig.deliver(Events::ChannelInfo{stored});

        QVERIFY(outcome.done && !outcome.error);
        QCOMPARE(rig.controller->channelForIndex(expected), stored);
        const bool replaced = expected < reported.size();
        QCOMPARE(rig.controller->channels().size(),
                 replaced ? reported.size() : reported.size() + 1);
        QCOMPARE(changed.count(), replaced ? 1 : 0);
        QCOMPARE(inserted.count(), replaced ? 0 : 1);
        QCOMPARE((replaced ? changed : inserted).first(), QVariantList{expected});
        QCOMPARE(added.count(), 1);
        QCOMPARE(added.first(), QVariantList{QStringLiteral("channel:%1").arg(expected)});
    }

    void slotReadBackAsFreeGetsNoConversation() {
        VoidOutcome outcome;
        ControllerRig rig;
        rig.connectQuietly();
        loadSlots(rig, slotsFrom("N"));
        captureVoid(rig.controller->addChannel(QString(), QByteArray()), &outcome);
        rig.deliver(Events::Ok{});
        rig.deliver(Events::ChannelInfo{Channel{1, {}, zeroSecret}});
        QVERIFY(outcome.done && !outcome.error);
        QCOMPARE(indexesOf(rig.controller->channels()), (QList<int>{0, 1}));
        QVERIFY(!rig.controller->conversations().contains("channel:1"));
    }

    void channelsStaySortedAfterRemoveAndAdd() {
        VoidOutcome first, second, removed, again;
        SimRig rig;
        QVERIFY(rig.connect());
        QCOMPARE(indexesOf(rig.controller->channels()), (QList<int>{0, 1, 2, 3, 4, 5, 6, 7}));
        captureVoid(rig.controller->joinHashtagChannel(QStringLiteral("one")), &first);
        rig.clock.advance(200ms);
        captureVoid(rig.controller->joinHashtagChannel(QStringLiteral("two")), &second);
        rig.clock.advance(200ms);
        captureVoid(rig.controller->removeChannel(1), &removed);
        rig.clock.advance(200ms);
        QCOMPARE(indexesOf(rig.controller->channels()), (QList<int>{0, 2, 3, 4, 5, 6, 7}));

        QSignalSpy inserted(rig.controller.get(), &MeshController::channelInserted);
        captureVoid(rig.controller->joinPublicChannel(QStringLiteral("Public too")), &again);
        rig.clock.advance(200ms);
        QVERIFY(first.done && second.done && removed.done && again.done);
        QVERIFY(!first.error && !second.error && !removed.error && !again.error);
        QCOMPARE(indexesOf(rig.controller->channels()), (QList<int>{0, 1, 2, 3, 4, 5, 6, 7}));
        QCOMPARE(inserted.count(), 1);
        QCOMPARE(inserted.first(), QVariantList{1});
        QCOMPARE(rig.controller->channels().at(1).name, QStringLiteral("Public too"));
        QCOMPARE(rig.controller->channels().at(2).name, QStringLiteral("#two"));
        QCOMPARE(rig.controller->channels(), rig.radio.channels());
    }

    // --- secrets

    void digestKnownAnswers_data() {
        QTest::addColumn<QByteArray>("input");
        QTest::addColumn<QString>("digest");
        // The FIPS 180-2 example and the digest of nothing.
        QTest::newRow("abc") << QByteArray("abc")
                             << "ba7816bf8f01cfea414140de5dae2223b00361a396177a9cb410ff61f20015ad";
        QTest::newRow("empty")
            << QByteArray() << "e3b0c44298fc1c149afbf4c8996fb92427ae41e4649b934ca495991b7852b855";
    }
    void digestKnownAnswers() {
        QFETCH(QByteArray, input);
        QFETCH(QString, digest);
        QCOMPARE(MeshProtocol::hexString(MeshController::channelDigest(input)), digest);
    }

    void hashtagNameAndSecret_data() {
        QTest::addColumn<QString>("typed");
        QTest::addColumn<QString>("name");
        QTest::addColumn<QString>("secret"); // first 16 bytes of SHA-256 of the name

        const QString lora = QStringLiteral("0749ea267c6be7b54ca1dbbae7dba0aa");
        QTest::newRow("bare word between blanks") << " \tlora  "
                                                  << "#lora" << lora;
        QTest::newRow("with its #") << "#lora"
                                    << "#lora" << lora;
        QTest::newRow("case makes another channel") << "#Lora"
                                                    << "#Lora"
                                                    << "7c61eee4c161364032fbb956fc26869d";
        QTest::newRow("empty") << ""
                               << "#"
                               << "334359b90efed75da5f0ada1d5e6b256";
        QTest::newRow("UTF-8 of the name") << "sää\t"
                                           << "#sää"
                                           << "bb1d59b087df34bb38e990ca17481973";
        QTest::newRow("every space character, inside too")
            << QStringLiteral("\u2003\u202flo\u00a0ra\u205f") << QStringLiteral("#lo\u00a0ra")
            << MeshProtocol::hexString(
                   QCryptographicHash::hash(QStringLiteral("#lo\u00a0ra").toUtf8(),
                                            QCryptographicHash::Sha256)
                       .first(16));
        QTest::newRow("zero-width space is no white space")
            << QStringLiteral("\u200blora") << QStringLiteral("#\u200blora")
            << MeshProtocol::hexString(
                   QCryptographicHash::hash(QStringLiteral("#\u200blora").toUtf8(),
                                            QCryptographicHash::Sha256)
                       .first(16));
        QTest::newRow("line break is not trimmed")
            << "lora\n"
            << "#lora\n"
            << MeshProtocol::hexString(
                   QCryptographicHash::hash("#lora\n", QCryptographicHash::Sha256).first(16));
    }
    void hashtagNameAndSecret() {
        QFETCH(QString, typed);
        QFETCH(QString, name);
        QFETCH(QString, secret);
        QCOMPARE(MeshController::hashtagChannelName(typed), name);
        QCOMPARE(MeshProtocol::hexString(MeshController::hashtagChannelSecret(name)), secret);
    }

    void publicChannelSecret() {
        VoidOutcome outcome;
        ControllerRig rig;
        rig.connectQuietly();
        captureVoid(rig.controller->joinPublicChannel(QStringLiteral("Public")), &outcome);
        QCOMPARE(rig.link.written, QList<QByteArray>{setChannelFrame(
                                       0, "Public", hex("5d0c2a7f 91e4b836 5fa0c7d2 1e9b4a83"))});
    }

    void joinPrivateChannelSecretText_data() {
        QTest::addColumn<QString>("typed");
        QTest::addColumn<bool>("connected");
        QTest::addColumn<QString>("error"); // empty: the frame carries the secret

        QTest::newRow("groups separated by spaces")
            << "00112233 44556677\n8899aabb ccddeeff" << true << "";
        QTest::newRow("upper case with dashes")
            << "0011-2233-4455-6677-8899-AABB-CCDD-EEFF" << true << "";
        QTest::newRow("31 digits")
            << "00112233445566778899aabbccddeef" << true << "Illegal argument";
        QTest::newRow("33 digits")
            << "00112233445566778899aabbccddeeff0" << true << "Illegal argument";
        QTest::newRow("31 digits while disconnected")
            << "00112233445566778899aabbccddeef" << false << "Illegal argument";
        QTest::newRow("good secret while disconnected")
            << "00112233445566778899aabbccddeeff" << false << "Not connected to a device.";
    }
    void joinPrivateChannelSecretText() {
        QFETCH(QString, typed);
        QFETCH(bool, connected);
        QFETCH(QString, error);

        VoidOutcome outcome;
        ControllerRig rig;
        if (connected)
            rig.connectQuietly();
        captureVoid(rig.controller->joinPrivateChannel(QStringLiteral("Crew"), typed), &outcome);
        if (!error.isEmpty()) {
            QVERIFY(outcome.done);
            QCOMPARE(errorTextOf(outcome), error);
            QVERIFY(rig.link.written.isEmpty());
            return;
        }
        QCOMPARE(rig.link.written, QList<QByteArray>{setChannelFrame(
                                       0, "Crew", hex("00112233445566778899aabbccddeeff"))});
    }

    void createPrivateChannelReturnsTheStoredSecret() {
        Outcome<QString> first, second;
        SimRig rig;
        QVERIFY(rig.connect());
        capture(rig.controller->createPrivateChannel(QStringLiteral("Crew")), &first);
        rig.clock.advance(200ms);
        capture(rig.controller->createPrivateChannel(QStringLiteral("Crew 2")), &second);
        rig.clock.advance(200ms);

        QVERIFY(first.done && !first.error && second.done && !second.error);
        static const QRegularExpression lowerHex32(QStringLiteral("^[0-9a-f]{32}$"));
        QVERIFY2(lowerHex32.match(*first.value).hasMatch(), qPrintable(*first.value));
        QCOMPARE(rig.controller->channelForIndex(1)->secretHex, *first.value);
        QCOMPARE(rig.controller->channelForIndex(2)->secretHex, *second.value);
        QVERIFY(*first.value != *second.value);
        QCOMPARE(rig.radio.channels().at(1).secretHex, *first.value);
    }

    // --- failures of an add

    void addChannelFailures_data() {
        QTest::addColumn<QString>("knob");
        QTest::addColumn<int>("millisToEnd");
        QTest::addColumn<QString>("error");
        QTest::addColumn<bool>("readBack"); // slot 1 shows the new channel afterwards

        QTest::newRow("accepted and read back") << "" << 60 << "" << true;
        QTest::newRow("not connected")
            << "disconnect" << 0 << "Not connected to a device." << false;
        QTest::newRow("no answer to the write in 6 s")
            << "drop write" << 6000 << "The device did not respond in time." << false;
        QTest::newRow("write refused") << "fail write" << 30 << "Storage I/O error" << false;
        QTest::newRow("read-back refused") << "fail read" << 60 << "" << false;
        QTest::newRow("read-back lost: 3 s") << "drop read" << 3030 << "" << false;
        QTest::newRow("link drops on the read-back") << "drop link" << 30 << "" << false;
    }
    void addChannelFailures() {
        QFETCH(QString, knob);
        QFETCH(int, millisToEnd);
        QFETCH(QString, error);
        QFETCH(bool, readBack);

        VoidOutcome outcome;
        SimRig rig;
        QVERIFY(rig.connect());
        const QList<Channel> before = rig.controller->channels();
        if (knob == QLatin1String("disconnect"))
            rig.radio.dropLink();
        else if (knob == QLatin1String("drop write"))
            rig.radio.dropNextAnswerTo(RadioCommand::setChannel);
        else if (knob == QLatin1String("fail write"))
            rig.radio.failNextCommand(RadioCommand::setChannel,
                                      MeshProtocol::DeviceError::fileIOError);
        else if (knob == QLatin1String("fail read"))
            rig.radio.failNextCommand(RadioCommand::getChannel,
                                      MeshProtocol::DeviceError::notFound);
        else if (knob == QLatin1String("drop read"))
            rig.radio.dropNextAnswerTo(RadioCommand::getChannel);
        else if (knob == QLatin1String("drop link"))
            rig.radio.dropLinkOnCommand(RadioCommand::getChannel);

        captureVoid(rig.controller->joinHashtagChannel(QStringLiteral(" lora ")), &outcome);
        if (knob != QLatin1String("disconnect"))
            QCOMPARE(rig.radio.writtenFrames().value(0),
                     setChannelFrame(1, "#lora", hex("0749ea267c6be7b54ca1dbbae7dba0aa")));
        QVERIFY(rig.endsAfter(outcome, millisToEnd));
        QCOMPARE(errorTextOf(outcome), error);
        QCOMPARE(rig.controller->conversations().contains("channel:1"), readBack);
        if (readBack)
            QCOMPARE(rig.controller->channelForIndex(1),
                     (Channel{1, "#lora", QStringLiteral("0749ea267c6be7b54ca1dbbae7dba0aa")}));
        else if (rig.controller->transportState() == TransportState::connected)
            QCOMPARE(rig.controller->channels(), before);
        else
            QVERIFY(rig.controller->channels().isEmpty());
    }

    void everyAddFailsWhenAllSlotsAreInUse_data() {
        QTest::addColumn<QString>("way");
        QTest::newRow("create private") << "create";
        QTest::newRow("join private") << "private";
        QTest::newRow("join public") << "public";
        QTest::newRow("join hashtag") << "hashtag";
    }
    void everyAddFailsWhenAllSlotsAreInUse() {
        QFETCH(QString, way);
        VoidOutcome outcome;
        Outcome<QString> created;
        std::array<VoidOutcome, MeshController::maxChannels> fills;
        SimRig rig;
        QVERIFY(rig.connect());
        for (int i = 1; i < MeshController::maxChannels; ++i) {
            VoidOutcome& fill = fills[i];
            captureVoid(rig.controller->joinHashtagChannel(QString::number(i)), &fill);
            rig.clock.advance(200ms);
            QVERIFY(fill.done && !fill.error);
        }
        QCOMPARE(rig.controller->firstFreeChannelIndex(), std::nullopt);
        rig.radio.clearWrittenFrames();

        const QString name = QStringLiteral("One more");
        if (way == QLatin1String("create"))
            capture(rig.controller->createPrivateChannel(name), &created);
        else if (way == QLatin1String("private"))
            captureVoid(rig.controller->joinPrivateChannel(name, zeroSecret), &outcome);
        else if (way == QLatin1String("public"))
            captureVoid(rig.controller->joinPublicChannel(name), &outcome);
        else
            captureVoid(rig.controller->joinHashtagChannel(name), &outcome);
        QVERIFY(outcome.done || created.done);
        QCOMPARE(way == QLatin1String("create") ? errorTextOf(created) : errorTextOf(outcome),
                 QStringLiteral("Storage table is full"));
        QVERIFY(rig.radio.writtenFrames().isEmpty());
    }

    // --- removeChannel

    void removeChannel_data() {
        QTest::addColumn<int>("index");
        QTest::addColumn<QString>("knob");
        QTest::addColumn<int>("millisToEnd");
        QTest::addColumn<QString>("error");

        QTest::newRow("the selected channel") << 1 << "" << 30 << "";
        QTest::newRow("index 8") << 8 << "" << 0 << "Illegal argument";
        QTest::newRow("index -1") << -1 << "" << 0 << "Illegal argument";
        QTest::newRow("not connected") << 1 << "disconnect" << 0 << "Not connected to a device.";
        QTest::newRow("refused") << 1 << "fail" << 30 << "Device is in a bad state";
        QTest::newRow("no answer in 6 s")
            << 1 << "drop" << 6000 << "The device did not respond in time.";
    }
    void removeChannel() {
        QFETCH(int, index);
        QFETCH(QString, knob);
        QFETCH(int, millisToEnd);
        QFETCH(QString, error);

        VoidOutcome joined;
        VoidOutcome outcome;
        SimRig rig;
        QVERIFY(rig.connect());
        captureVoid(rig.controller->joinHashtagChannel(QStringLiteral("crew")), &joined);
        rig.clock.advance(200ms);
        QVERIFY(joined.done && !joined.error);
        const auto crew = ConversationID::channel(1);
        rig.controller->appendMessage(incomingMessage(QStringLiteral("moi"), rig.clock.now()),
                                      crew);
        rig.controller->setSelectedConversation(crew);
        rig.radio.clearWrittenFrames();
        const QList<Channel> before = rig.controller->channels();
        if (knob == QLatin1String("disconnect"))
            rig.radio.dropLink();
        else if (knob == QLatin1String("fail"))
            rig.radio.failNextCommand(RadioCommand::setChannel,
                                      MeshProtocol::DeviceError::badState);
        else if (knob == QLatin1String("drop"))
            rig.radio.dropNextAnswerTo(RadioCommand::setChannel);

        QSignalSpy removedRow(rig.controller.get(), &MeshController::channelRemoved);
        QSignalSpy removedConversation(rig.controller.get(), &MeshController::conversationRemoved);
        captureVoid(rig.controller->removeChannel(index), &outcome);
        QVERIFY(rig.endsAfter(outcome, millisToEnd));
        QCOMPARE(errorTextOf(outcome), error);
        const bool sent = knob != QLatin1String("disconnect") && index >= 0 && index < 8;
        QCOMPARE(rig.radio.writtenFrames(),
                 sent ? QList<QByteArray>{setChannelFrame(1, "", QByteArray(16, '\0'))}
                      : QList<QByteArray>{});

        const auto history = rig.savedHistory();
        QVERIFY(history);
        const bool onFile = std::any_of(history->begin(), history->end(),
                                        [&](const Conversation& c) { return c.target == crew; });
        if (error.isEmpty()) {
            QCOMPARE(indexesOf(rig.controller->channels()), (QList<int>{0, 2, 3, 4, 5, 6, 7}));
            QCOMPARE(removedRow.count(), 1);
            QCOMPARE(removedRow.first(), QVariantList{1});
            QCOMPARE(removedConversation.count(), 1);
            QVERIFY(!rig.controller->conversations().contains("channel:1"));
            QVERIFY(!rig.controller->selectedConversation());
            QVERIFY(!onFile);
            QVERIFY(rig.radio.channels().at(1).name.isEmpty());
            // Its notification goes with it.
            QCOMPARE(rig.notifier.withdrawn, QStringList{QStringLiteral("channel:1")});
            return;
        }
        QVERIFY(rig.notifier.withdrawn.isEmpty());
        if (knob != QLatin1String("disconnect")) {
            QCOMPARE(rig.controller->channels(), before);
            QCOMPARE(rig.controller->selectedConversation(), crew);
        }
        QCOMPARE(removedRow.count(), 0);
        QVERIFY(rig.controller->conversations().contains("channel:1"));
        QVERIFY(onFile);
    }

    // --- notification levels

    // "#mesh" joins slot 1 and is set to Mentions. The level belongs to the
    // channel, not to the slot: it follows it to another slot, another
    // channel in its old slot starts at All (a channel of the same name with
    // another secret is another channel), and reading the slots again after
    // a reconnection finds it where it was.
    void levelFollowsTheChannel_data() {
        QTest::addColumn<QString>("then");
        QTest::addColumn<QString>("slot1"); // level of the channel in slot 1 afterwards
        QTest::addColumn<QString>("slot2");
        QTest::newRow("read again after a reconnection") << "reconnect"
                                                         << "mentions"
                                                         << "all";
        QTest::newRow("moved to another slot") << "move"
                                               << "all"
                                               << "mentions";
        QTest::newRow("slot taken by a namesake") << "namesake"
                                                  << "all"
                                                  << "mentions";
    }
    void levelFollowsTheChannel() {
        QFETCH(QString, then);
        QFETCH(QString, slot1);
        QFETCH(QString, slot2);
        SimRig rig;
        QVERIFY(rig.connect());
        const auto run = [&](QCoro::Task<void> task) {
            VoidOutcome outcome;
            captureVoid(std::move(task), &outcome);
            rig.clock.advance(200ms);
            return outcome.done && !outcome.error;
        };
        QVERIFY(run(rig.controller->joinHashtagChannel(QStringLiteral("mesh"))));
        QVERIFY(rig.controller->setNotificationLevelOf(u"channel:1"_s, u"mentions"_s));
        if (then == u"reconnect"_s) {
            rig.radio.dropLink();
            rig.clock.settle();
            QCOMPARE(rig.controller->notificationLevelOf(u"channel:1"_s), u"mentions"_s);
            QVERIFY(rig.connect());
        } else {
            QVERIFY(run(rig.controller->removeChannel(1)));
            QCOMPARE(rig.controller->notificationLevelOf(u"channel:1"_s), u"all"_s);
            if (then == u"move"_s)
                QVERIFY(run(rig.controller->joinHashtagChannel(QStringLiteral("other"))));
            else
                QVERIFY(run(rig.controller->joinPrivateChannel(
                    QStringLiteral("#mesh"), QStringLiteral("0102030405060708090a0b0c0d0e0f10"))));
            QVERIFY(run(rig.controller->joinHashtagChannel(QStringLiteral("mesh"))));
            QCOMPARE(rig.controller->channels().at(2).name, u"#mesh"_s);
        }
        QCOMPARE(rig.controller->notificationLevelOf(u"channel:1"_s), slot1);
        QCOMPARE(rig.controller->notificationLevelOf(u"channel:2"_s), slot2);
    }

    // --- QML entry points

    void qmlCreateHandsBackTheSecret() {
        QJSEngine engine; // outlives the rig: waiting callbacks may still run in its teardown
        SimRig rig;
        QVERIFY(rig.connect());
        QJSValue results = engine.newArray();
        engine.globalObject().setProperty(QStringLiteral("results"), results);
        const QJSValue keep =
            engine.evaluate(QStringLiteral("(function (r) { results.push(r); })"));

        rig.controller->createPrivateChannelQml(QStringLiteral("Crew")).then(keep);
        rig.controller->removeChannelQml(9).then(keep);
        rig.clock.advance(200ms);
        rig.controller->joinPrivateChannelQml(QStringLiteral("Bad"), QStringLiteral("12"))
            .then(keep);

        QCOMPARE(results.property("length").toInt(), 3);
        QCOMPARE(results.property(0).property("error").toString(),
                 QStringLiteral("Illegal argument"));
        const QJSValue created = results.property(1);
        QCOMPARE(created.property("ok").toBool(), true);
        QCOMPARE(created.property("value").toString(),
                 rig.controller->channelForIndex(1)->secretHex);
        QCOMPARE(results.property(2).property("ok").toBool(), false);
    }
};

QTEST_GUILESS_MAIN(TestChannels)
#include "test_channels.moc"
