#include "chat_rig.h"
#include "chat_view_model.h"
#include "translations.h"

#include <QCoreApplication>
#include <QSignalSpy>
#include <QTest>

using namespace std::chrono_literals;
using MeshProtocol::AdvertType;

namespace {

const QString ainoKey = QStringLiteral("a1b2c3d4e5f6") + QString(52, QLatin1Char('0'));
const QString roomKey = QString(64, QLatin1Char('c'));
const QString farKey = QString(64, QLatin1Char('d'));
const QString unknownKey = QStringLiteral("0123456789ab") + QString(52, QLatin1Char('e'));

} // namespace

class TestChatViewModel : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void initTestCase() { QVERIFY(installTranslations(*QCoreApplication::instance())); }

    void header_data() {
        QTest::addColumn<QString>("key");
        QTest::addColumn<QString>("title");
        QTest::addColumn<QString>("subtitle");
        QTest::addColumn<QString>("seed");
        QTest::addColumn<QString>("initials");
        QTest::addColumn<QString>("symbol");
        QTest::addColumn<bool>("hasContact");
        QTest::addColumn<bool>("isChannel");

        QTest::newRow("companion with a path")
            << QStringLiteral("contact:") + ainoKey << QStringLiteral("Aino Virtanen")
            << QStringLiteral("%1 · direct route").arg(MeshProtocol::displayName(AdvertType::chat))
            << ainoKey << QStringLiteral("AV") << QString() << true << false;
        QTest::newRow("room without a path")
            << QStringLiteral("contact:") + roomKey << QStringLiteral("Harbour Room")
            << QStringLiteral("%1 · flood routed").arg(MeshProtocol::displayName(AdvertType::room))
            << roomKey << QStringLiteral("HR")
            << QStringLiteral("bubble.left.and.bubble.right.fill") << true << false;
        QTest::newRow("key no longer in the contacts")
            << QStringLiteral("contact:") + unknownKey << QStringLiteral("0123456789ab")
            << QStringLiteral("Direct message") << unknownKey << QStringLiteral("?") << QString()
            << false << false;
        QTest::newRow("public channel")
            << QStringLiteral("channel:0") << QStringLiteral("Public") << QStringLiteral("Channel")
            << QStringLiteral("channel0") << QString() << QStringLiteral("globe") << false << true;
        QTest::newRow("channel not on the radio")
            << QStringLiteral("channel:9") << QStringLiteral("Channel 9")
            << QStringLiteral("Channel") << QStringLiteral("channel9") << QString()
            << QStringLiteral("number") << false << true;
    }

    void header() {
        QFETCH(QString, key);
        ChatRig rig;
        rig.radio.addContact(chatContact(ainoKey, QStringLiteral("Aino Virtanen")));
        rig.radio.addContact(
            chatContact(roomKey, QStringLiteral("Harbour Room"), AdvertType::room, -1));
        QVERIFY(rig.connect());

        ChatViewModel chat;
        chat.setController(rig.controller.get());
        chat.setConversationKey(key);
        QTEST(chat.title(), "title");
        QTEST(chat.subtitle(), "subtitle");
        QTEST(chat.avatarSeed(), "seed");
        QTEST(chat.avatarInitials(), "initials");
        QTEST(chat.avatarSymbol(), "symbol");
        QTEST(chat.hasContact(), "hasContact");
        QTEST(chat.isChannel(), "isChannel");
        QVERIFY(chat.conflictText().isEmpty());
    }

    // The header follows the contact list: a contact that goes away on
    // disconnect leaves the key-only header behind.
    void headerFollowsTheContacts() {
        ChatRig rig;
        rig.radio.addContact(chatContact(ainoKey, QStringLiteral("Aino Virtanen")));
        ChatViewModel chat;
        chat.setController(rig.controller.get());
        chat.setConversationKey(QStringLiteral("contact:") + ainoKey);
        QCOMPARE(chat.title(), QStringLiteral("a1b2c3d4e5f6"));

        QSignalSpy header(&chat, &ChatViewModel::headerChanged);
        QSignalSpy connected(&chat, &ChatViewModel::connectedChanged);
        QVERIFY(rig.connect());
        QVERIFY(header.size() >= 1);
        QVERIFY(connected.size() >= 1);
        QCOMPARE(chat.title(), QStringLiteral("Aino Virtanen"));
        QVERIFY(chat.hasContact());
        QVERIFY(chat.connected());

        header.clear();
        rig.radio.dropLink();
        rig.clock.settle();
        QVERIFY(!chat.connected());
        QCOMPARE(chat.title(), QStringLiteral("a1b2c3d4e5f6"));
        QVERIFY(!chat.hasContact());
        QCOMPARE(header.size(), 1);
    }

    void verification() {
        ChatRig rig;
        rig.radio.addContact(chatContact(ainoKey, QStringLiteral("Aino Virtanen")));
        rig.radio.addContact(chatContact(farKey, QStringLiteral("AINO VIRTANEN")));
        QVERIFY(rig.connect());

        ChatViewModel aino;
        aino.setController(rig.controller.get());
        aino.setConversationKey(QStringLiteral("contact:") + ainoKey);
        ChatViewModel impostor;
        impostor.setController(rig.controller.get());
        impostor.setConversationKey(QStringLiteral("contact:") + farKey);

        QCOMPARE(aino.verificationState(), QStringLiteral("unverified"));
        QCOMPARE(aino.verificationSymbol(), QStringLiteral("key.fill"));
        QCOMPARE(aino.verificationTint(), QStringLiteral("secondary"));
        QCOMPARE(aino.keyPrefix(), QStringLiteral("a1b2c3d4e5f6"));
        QCOMPARE(aino.verificationActionText(), QStringLiteral("Mark as Verified"));
        QVERIFY(!aino.verificationActionClears());

        QSignalSpy ainoHeader(&aino, &ChatViewModel::headerChanged);
        QSignalSpy impostorHeader(&impostor, &ChatViewModel::headerChanged);
        aino.triggerVerificationAction();
        QVERIFY(rig.controller->verifiedKeys().contains(ainoKey));
        QCOMPARE(ainoHeader.size(), 1);
        QCOMPARE(aino.verificationState(), QStringLiteral("verified"));
        QCOMPARE(aino.verificationSymbol(), QStringLiteral("checkmark.seal.fill"));
        QCOMPARE(aino.verificationTint(), QStringLiteral("green"));
        QCOMPARE(aino.verificationActionText(), QStringLiteral("Remove Verification"));
        QVERIFY(aino.verificationActionClears());

        // The other key with the same name (in other case) is now suspect.
        QCOMPARE(impostorHeader.size(), 1);
        QCOMPARE(impostor.verificationState(), QStringLiteral("conflict"));
        QCOMPARE(impostor.verificationSymbol(), QStringLiteral("exclamationmark.shield.fill"));
        QCOMPARE(impostor.verificationTint(), QStringLiteral("red"));
        QVERIFY2(impostor.conflictText().contains(QStringLiteral("AINO VIRTANEN")),
                 qPrintable(impostor.conflictText()));

        // "Verify anyway" on the banner.
        impostor.setVerified();
        QCOMPARE(impostor.verificationState(), QStringLiteral("verified"));
        QVERIFY(impostor.conflictText().isEmpty());

        aino.triggerVerificationAction();
        QVERIFY(!rig.controller->verifiedKeys().contains(ainoKey));
        QCOMPARE(aino.verificationState(), QStringLiteral("conflict"));
    }

    void composerRules_data() {
        QTest::addColumn<QString>("draft");
        QTest::addColumn<QString>("limited");
        QTest::addColumn<QString>("counter");
        QTest::addColumn<QString>("tint");
        QTest::addColumn<bool>("atLimit");
        QTest::addColumn<bool>("sendable");

        const QString family = QStringLiteral("👨‍👩‍👧");
        QTest::newRow("empty") << QString() << QString() << QStringLiteral("0/139")
                               << QStringLiteral("secondary") << false << false;
        QTest::newRow("blank") << QStringLiteral(" \n\t ") << QStringLiteral(" \n\t ")
                               << QStringLiteral("4/139") << QStringLiteral("secondary") << false
                               << false;
        QTest::newRow("word") << QStringLiteral("hi") << QStringLiteral("hi")
                              << QStringLiteral("2/139") << QStringLiteral("secondary") << false
                              << true;
        QTest::newRow("20 left") << QString(119, QLatin1Char('x')) << QString(119, QLatin1Char('x'))
                                 << QStringLiteral("119/139") << QStringLiteral("orange") << false
                                 << true;
        QTest::newRow("1 left") << QString(138, QLatin1Char('x')) << QString(138, QLatin1Char('x'))
                                << QStringLiteral("138/139") << QStringLiteral("orange") << false
                                << true;
        QTest::newRow("pasted 200")
            << QString(200, QLatin1Char('y')) << QString(139, QLatin1Char('y'))
            << QStringLiteral("139/139") << QStringLiteral("red") << true << true;
        QTest::newRow("140 emoji families")
            << family.repeated(140) << family.repeated(139) << QStringLiteral("139/139")
            << QStringLiteral("red") << true << true;
    }

    void composerRules() {
        QFETCH(QString, draft);
        QFETCH(QString, limited);
        QFETCH(bool, sendable);
        ChatRig rig;
        QVERIFY(rig.connect());
        ChatViewModel chat;
        chat.setController(rig.controller.get());
        chat.setConversationKey(QStringLiteral("channel:0"));

        QCOMPARE(ChatViewModel::limitDraft(draft), limited);
        QTEST(ChatViewModel::counterText(limited), "counter");
        QTEST(ChatViewModel::counterTint(limited), "tint");
        QTEST(ChatViewModel::atLimit(limited), "atLimit");
        QCOMPARE(chat.canSend(limited), sendable);

        const auto before = rig.controller->conversations().value(QStringLiteral("channel:0"));
        QCOMPARE(chat.send(limited), sendable);
        const auto after = rig.controller->conversations().value(QStringLiteral("channel:0"));
        QCOMPARE(after.messages.size(), before.messages.size() + (sendable ? 1 : 0));
    }

    void nothingIsSentWhileDisconnected() {
        ChatRig rig;
        ChatViewModel chat;
        chat.setController(rig.controller.get());
        chat.setConversationKey(QStringLiteral("channel:0"));
        QVERIFY(!chat.connected());
        QVERIFY(!chat.canSend(QStringLiteral("hello")));
        QVERIFY(!chat.send(QStringLiteral("hello")));
        QVERIFY(!rig.controller->conversations().contains(QStringLiteral("channel:0")));
    }

    void markReadClearsTheUnreadCount() {
        ChatRig rig;
        rig.radio.addContact(chatContact(ainoKey, QStringLiteral("Aino Virtanen")));
        QVERIFY(rig.connect());
        rig.radio.queueIncomingDirect(ainoKey, QStringLiteral("hei"), rig.clock.now());
        rig.clock.advance(2s);
        const QString key = QStringLiteral("contact:") + ainoKey;
        QCOMPARE(rig.controller->conversations().value(key).unreadCount, 1);

        ChatViewModel chat;
        chat.setController(rig.controller.get());
        chat.setConversationKey(key);
        chat.markRead();
        QCOMPARE(rig.controller->conversations().value(key).unreadCount, 0);
    }
};

QTEST_GUILESS_MAIN(TestChatViewModel)
#include "test_chat_view_model.moc"
