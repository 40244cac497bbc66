#include "ui/logic/chat_header.h"
#include "ui/logic/composer.h"
#include "ui/translations.h"

#include <QCoreApplication>
#include <QTest>

using namespace ViewLogic;
using MeshProtocol::AdvertType;
using namespace Qt::StringLiterals;

Q_DECLARE_METATYPE(ViewLogic::Tint)
Q_DECLARE_METATYPE(ViewLogic::VerificationState)
Q_DECLARE_METATYPE(std::optional<QString>)

namespace {

const QString key = QStringLiteral("0123456789abcdef") + QString(48, QLatin1Char('e'));
const QString otherKey = QString(64, QLatin1Char('f'));

Contact contact(const QString& name, AdvertType type, int outPathLength = -1) {
    Contact c;
    c.publicKey = key;
    c.name = name;
    c.type = type;
    c.outPathLength = static_cast<std::int8_t>(outPathLength);
    return c;
}

} // namespace

class TestChatLogic : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void initTestCase() { QVERIFY(installTranslations(*QCoreApplication::instance())); }

    // The header of a contact (present or not) or a channel slot (present,
    // unnamed, or not on the radio), with its avatar.
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
        QTest::newRow("contact missing") << person << none << noSlot << u"0123456789ab"_s
                                         << u"Direct message"_s << u"?"_s << noSymbol;
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
        QTest::newRow("repeater") << person
                                  << std::optional(contact(u"r"_s, AdvertType::repeaterNode))
                                  << noSlot << u"r"_s
                                  << typed(AdvertType::repeaterNode, " · flood routed") << u"R"_s
                                  << std::optional(u"antenna.radiowaves.left.and.right"_s);
        QTest::newRow("sensor") << person << std::optional(contact(u"s"_s, AdvertType::sensor))
                                << noSlot << u"s"_s << typed(AdvertType::sensor, " · flood routed")
                                << u"S"_s << std::optional(u"sensor.fill"_s);
        QTest::newRow("public channel, secret in upper case")
            << ConversationID::channel(0) << none
            << std::optional(Channel{0, {}, u"5D0C2A7F91E4B8365FA0C7D21E9B4A83"_s}) << u"Public"_s
            << u"Channel"_s << QString() << std::optional(u"globe"_s);
        QTest::newRow("named channel")
            << ConversationID::channel(2) << none
            << std::optional(Channel{2, u"ops"_s, QString(32, QLatin1Char('1'))}) << u"ops"_s
            << u"Channel"_s << QString() << std::optional(u"number"_s);
        QTest::newRow("unnamed channel")
            << ConversationID::channel(3) << none << std::optional(Channel{3, {}, {}})
            << u"Channel 3"_s << u"Channel"_s << QString() << std::optional(u"number"_s);
        QTest::newRow("channel missing")
            << ConversationID::channel(9) << none << noSlot << u"Channel 9"_s << u"Channel"_s
            << QString() << std::optional(u"number"_s);
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

    void verification_data() {
        QTest::addColumn<bool>("verified");
        QTest::addColumn<bool>("conflicting");
        QTest::addColumn<VerificationState>("state");
        QTest::addColumn<QString>("symbol");
        QTest::addColumn<Tint>("tint");
        QTest::addColumn<QByteArray>("action");
        QTest::addColumn<bool>("banner");
        QTest::newRow("verified") << true << false << VerificationState::verified
                                  << QStringLiteral("checkmark.seal.fill") << Tint::green
                                  << QByteArray("chat.verify.remove") << false;
        QTest::newRow("verified wins over a conflict")
            << true << true << VerificationState::verified << QStringLiteral("checkmark.seal.fill")
            << Tint::green << QByteArray("chat.verify.remove") << false;
        QTest::newRow("conflict") << false << true << VerificationState::conflict
                                  << QStringLiteral("exclamationmark.shield.fill") << Tint::red
                                  << QByteArray("chat.verify.mark") << true;
        QTest::newRow("unverified")
            << false << false << VerificationState::unverified << QStringLiteral("key.fill")
            << Tint::secondary << QByteArray("chat.verify.mark") << false;
    }

    void verification() {
        QFETCH(bool, verified);
        QFETCH(bool, conflicting);
        QFETCH(VerificationState, state);
        QFETCH(QString, symbol);
        QFETCH(Tint, tint);
        QFETCH(QByteArray, action);
        QFETCH(bool, banner);

        const Contact ann = contact(QStringLiteral("Ann"), AdvertType::chat);
        QHash<QString, QString> verifiedKeys{{otherKey, QStringLiteral("ann")}};
        if (verified)
            verifiedKeys.insert(key, QStringLiteral("Ann"));
        const std::optional<QString> conflict =
            conflicting ? std::optional<QString>(otherKey) : std::nullopt;

        const VerificationState actual = verificationState(key, verifiedKeys, conflict);
        QCOMPARE(actual, state);
        const VerificationControl control = verificationControl(ann, actual);
        QCOMPARE(control.symbol, symbol);
        QCOMPARE(control.tint, tint);
        QCOMPARE(control.actionKey, action);
        QCOMPARE(control.actionClears, verified);
        QCOMPARE(control.keyPrefix, QStringLiteral("0123456789ab"));
        QCOMPARE(control.helpKey, verified ? QByteArray("chat.verify.verified.help")
                                           : QByteArray("chat.verify.unverified.help"));
        const std::optional<LocalizedText> bannerText = conflictBannerText(ann, actual);
        QCOMPARE(bannerText.has_value(), banner);
        if (banner)
            QVERIFY(bannerText->text().contains(QStringLiteral("“Ann”")));

        const VerificationCard card = verificationCard(actual);
        QCOMPARE(card.redOutline, state == VerificationState::conflict);
        QCOMPARE(card.actionClears, verified);
    }

    void composerLimit_data() {
        QTest::addColumn<QString>("draft");
        QTest::addColumn<QString>("kept");
        QTest::addColumn<QString>("counter");
        QTest::addColumn<Tint>("tint");
        QTest::addColumn<bool>("atLimit");
        const QString a = QStringLiteral("a");
        QTest::newRow("118: 21 left") << a.repeated(118) << a.repeated(118)
                                      << QStringLiteral("118/139") << Tint::secondary << false;
        QTest::newRow("119: 20 left") << a.repeated(119) << a.repeated(119)
                                      << QStringLiteral("119/139") << Tint::orange << false;
        QTest::newRow("138: 1 left") << a.repeated(138) << a.repeated(138)
                                     << QStringLiteral("138/139") << Tint::orange << false;
        QTest::newRow("139 kept") << a.repeated(139) << a.repeated(139) << QStringLiteral("139/139")
                                  << Tint::red << true;
        QTest::newRow("200 cut") << a.repeated(200) << a.repeated(139) << QStringLiteral("139/139")
                                 << Tint::red << true;
        // 139 family emoji are far more than 139 UTF-16 units but stay whole.
        const QString family = QStringLiteral("\U0001F468\u200D\U0001F469\u200D\U0001F467");
        QTest::newRow("emoji counted as characters")
            << family.repeated(139) << family.repeated(139) << QStringLiteral("139/139")
            << Tint::red << true;
        QTest::newRow("emoji cut whole") << family.repeated(141) << family.repeated(139)
                                         << QStringLiteral("139/139") << Tint::red << true;
    }

    void composerLimit() {
        QFETCH(QString, draft);
        QFETCH(QString, kept);
        QFETCH(QString, counter);
        QFETCH(Tint, tint);
        QFETCH(bool, atLimit);
        const QString limited = limitDraft(draft);
        QCOMPARE(limited, kept);
        QCOMPARE(composerCounterText(limited), counter);
        QCOMPARE(composerCounterTint(limited), tint);
        QCOMPARE(composerAtLimit(limited), atLimit);
    }

    void canSend_data() {
        QTest::addColumn<QString>("draft");
        QTest::addColumn<bool>("connected");
        QTest::addColumn<bool>("sendable");
        QTest::newRow("text") << QStringLiteral("hi") << true << true;
        QTest::newRow("disconnected") << QStringLiteral("hi") << false << false;
        QTest::newRow("blank") << QStringLiteral("  \n\t \n") << true << false;
        QTest::newRow("139 after trimming")
            << QStringLiteral("  ") + QString(139, QLatin1Char('x')) + QStringLiteral("\n") << true
            << true;
        QTest::newRow("140") << QString(140, QLatin1Char('x')) << true << false;
    }

    void canSend() {
        QFETCH(QString, draft);
        QFETCH(bool, connected);
        QFETCH(bool, sendable);
        QCOMPARE(ViewLogic::canSend(draft, connected), sendable);
    }
};

QTEST_GUILESS_MAIN(TestChatLogic)
#include "test_chat_logic.moc"
