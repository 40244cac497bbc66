#include "chat_view_model.h"
#include "translations.h"
#include "ui_rig.h"

#include <QCoreApplication>
#include <QSignalSpy>
#include <QTest>

using namespace std::chrono_literals;
using MeshProtocol::AdvertType;

namespace {

const QString ainoKey = QStringLiteral("a1b2c3d4e5f6") + QString(52, QLatin1Char('0'));
const QString farKey = QString(64, QLatin1Char('d'));
const QString unknownKey = QStringLiteral("0123456789ab") + QString(52, QLatin1Char('e'));

} // namespace

class TestChatViewModel : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void initTestCase() { QVERIFY(installTranslations(*QCoreApplication::instance())); }

    // The header of the conversation the key names, from the controller's
    // records (the cases of the header itself are in test_chat_logic).
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
        QTest::newRow("key no longer in the contacts")
            << QStringLiteral("contact:") + unknownKey << QStringLiteral("0123456789ab")
            << QStringLiteral("Direct message") << unknownKey << QStringLiteral("?") << QString()
            << false << false;
        QTest::newRow("channel not on the radio")
            << QStringLiteral("channel:9") << QStringLiteral("Channel 9")
            << QStringLiteral("Channel") << QStringLiteral("channel9") << QString()
            << QStringLiteral("number") << false << true;
    }

    void header() {
        QFETCH(QString, key);
        UiRig rig(UiRig::alone);
        rig.radio.addContact(chatContact(ainoKey, QStringLiteral("Aino Virtanen")));
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
        UiRig rig(UiRig::alone);
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

    // Marking a key verified makes the other key of the same name (in any
    // case) suspect in its own chat; the symbols and tints per state are in
    // test_chat_logic.
    void verification() {
        UiRig rig(UiRig::alone);
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
        QCOMPARE(aino.verificationActionText(), QStringLiteral("Remove Verification"));
        QVERIFY(aino.verificationActionClears());

        // The other key with the same name (in other case) is now suspect.
        QCOMPARE(impostorHeader.size(), 1);
        QCOMPARE(impostor.verificationState(), QStringLiteral("conflict"));
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
};

QTEST_GUILESS_MAIN(TestChatViewModel)
#include "test_chat_view_model.moc"
