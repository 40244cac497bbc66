// The add-contact and add-channel sheets: their rules and their forms against
// the simulated radio (test_window_access works the sheets by keyboard).
#include "add_channel_form.h"
#include "add_contact_form.h"
#include "logic/add_forms.h"
#include "translations.h"
#include "ui_rig.h"

#include <QClipboard>
#include <QGuiApplication>
#include <QQuickStyle>
#include <QSignalSpy>
#include <QTest>
#include <QtQml/qqmlextensionplugin.h>

Q_IMPORT_QML_PLUGIN(TalvennePlugin)

using namespace std::chrono_literals;
using ViewLogic::AddChannelMode;

namespace {
const QString key64 =
    QStringLiteral("5e1b7c90aa42d3186f0ce297b45a813dc629f0741ea85bc3902d67e418af520b");
const QString secret32 = QStringLiteral("0749ea267c6be7b54ca1dbbae7dba0aa");
} // namespace

class TestAddForms : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void initTestCase() {
        TestSupport::isolateFromUserFiles();
        QVERIFY(installTranslations(*QCoreApplication::instance()));
        QQuickStyle::setStyle(QStringLiteral("Fusion"));
    }

    void trimmedFieldRemovesOnlyBlanks_data() {
        QTest::addColumn<QString>("typed");
        QTest::addColumn<QString>("trimmed");
        QTest::newRow("spaces") << QStringLiteral("  Aino  ") << QStringLiteral("Aino");
        QTest::newRow("inner kept") << QStringLiteral(" Aino  V ") << QStringLiteral("Aino  V");
        QTest::newRow("newline kept") << QStringLiteral("Aino\n") << QStringLiteral("Aino\n");
        QTest::newRow("pasted no-break and ideographic spaces")
            << QStringLiteral("\u00a0#lora\u3000\u2009") << QStringLiteral("#lora");
        QTest::newRow("blank") << QStringLiteral(" \t ") << QString();
    }
    void trimmedFieldRemovesOnlyBlanks() {
        QFETCH(QString, typed);
        QFETCH(QString, trimmed);
        QCOMPARE(ViewLogic::trimmedField(typed), trimmed);
    }

    void counters_data() {
        QTest::addColumn<QString>("typed");
        QTest::addColumn<int>("required");
        QTest::addColumn<QString>("text");
        QTest::addColumn<bool>("isError");
        QTest::newRow("no hex at all")
            << QStringLiteral("xyz: -") << 64 << QStringLiteral("0/64") << false;
        QTest::newRow("partial") << key64.left(12) << 64 << QStringLiteral("12/64") << true;
        QTest::newRow("pasted with colons") << key64.left(2) + QLatin1Char(':') + key64.mid(2, 30) +
                                                   QStringLiteral(" ") + key64.mid(32)
                                            << 64 << QStringLiteral("64/64") << false;
        QTest::newRow("one too many")
            << key64 + QLatin1Char('a') << 64 << QStringLiteral("65/64") << true;
        QTest::newRow("secret") << secret32.toUpper() << 32 << QStringLiteral("32/32") << false;
        QTest::newRow("short secret") << secret32.left(24) << 32 << QStringLiteral("24/32") << true;
    }
    void counters() {
        QFETCH(QString, typed);
        QFETCH(int, required);
        QFETCH(QString, text);
        QFETCH(bool, isError);
        QCOMPARE(ViewLogic::hexCounter(typed, required), (ViewLogic::HexCounter{text, isError}));
    }

    void submitRules_data() {
        QTest::addColumn<int>("mode"); // -1: the contact sheet
        QTest::addColumn<QString>("name");
        QTest::addColumn<QString>("hex"); // key or secret
        QTest::addColumn<QString>("hashtag");
        QTest::addColumn<bool>("working");
        QTest::addColumn<bool>("allowed");
        QTest::newRow("contact") << -1 << QStringLiteral("Aino") << key64 << QString() << false
                                 << true;
        QTest::newRow("contact, name of spaces")
            << -1 << QStringLiteral("   ") << key64 << QString() << false << false;
        QTest::newRow("contact, short key")
            << -1 << QStringLiteral("Aino") << key64.left(63) << QString() << false << false;
        QTest::newRow("contact, working")
            << -1 << QStringLiteral("Aino") << key64 << QString() << true << false;
        QTest::newRow("create") << 0 << QStringLiteral("Owls") << QString() << QString() << false
                                << true;
        QTest::newRow("create, no name")
            << 0 << QStringLiteral("\t") << QString() << QString() << false << false;
        QTest::newRow("join private")
            << 1 << QStringLiteral("Owls") << secret32 << QString() << false << true;
        QTest::newRow("join private, short secret")
            << 1 << QStringLiteral("Owls") << secret32.left(31) << QString() << false << false;
        QTest::newRow("join public")
            << 2 << QStringLiteral("Public") << QString() << QString() << false << true;
        QTest::newRow("join hashtag")
            << 3 << QString() << QString() << QStringLiteral("#lora") << false << true;
        QTest::newRow("join hashtag, blank")
            << 3 << QStringLiteral("Owls") << QString() << QStringLiteral("  ") << false << false;
        QTest::newRow("join hashtag, only pasted blanks")
            << 3 << QString() << QString() << QStringLiteral("\u00a0\u3000") << false << false;
        QTest::newRow("join hashtag, working")
            << 3 << QString() << QString() << QStringLiteral("#lora") << true << false;
    }
    void submitRules() {
        QFETCH(int, mode);
        QFETCH(QString, name);
        QFETCH(QString, hex);
        QFETCH(QString, hashtag);
        QFETCH(bool, working);
        QFETCH(bool, allowed);
        const bool result =
            mode < 0 ? ViewLogic::canAddContact(name, hex, working)
                     : ViewLogic::canAddChannel(AddChannelMode(mode), name, hex, hashtag, working);
        QCOMPARE(result, allowed);
    }

    // The contact form adds through the radio, closes on success, and keeps
    // the fields and shows the radio's error on failure.
    void contactFormAddsOrShowsTheError() {
        UiRig rig;
        QVERIFY(rig.connect());
        AddContactForm form;
        form.setProperty("controller", QVariant::fromValue(rig.controller.get()));
        QSignalSpy finished(&form, &AddContactForm::finished);
        form.setProperty("name", QStringLiteral("  Saana "));
        form.setProperty("publicKey", QStringLiteral("5e:1b ") + key64.mid(4));
        QVERIFY(form.canSubmit());

        rig.radio.failNextAnyCommand(MeshProtocol::DeviceError::tableFull);
        form.submit();
        QVERIFY(form.isWorking());
        QVERIFY(!form.canSubmit());
        rig.clock.advance(1s);
        QCOMPARE(finished.count(), 0);
        QCOMPARE(form.errorMessage(), QStringLiteral("Storage table is full"));
        QVERIFY(!form.isWorking());
        QCOMPARE(form.property("name").toString(), QStringLiteral("  Saana "));

        form.submit();
        QVERIFY(form.errorMessage().isEmpty());
        rig.clock.advance(1s);
        QCOMPARE(finished.count(), 1);
        const auto added = rig.contactNamed(QStringLiteral("Saana"));
        QVERIFY(added);
        QCOMPARE(added->publicKey, key64);
    }

    void channelFormCreatesJoinsAndFails() {
        UiRig rig;
        AddChannelForm form;
        form.setProperty("controller", QVariant::fromValue(rig.controller.get()));
        QSignalSpy finished(&form, &AddChannelForm::finished);
        form.setMode(2);
        form.setProperty("name", QStringLiteral("Public"));
        form.submit();
        rig.clock.advance(1s);
        QCOMPARE(form.errorMessage(), QStringLiteral("Not connected to a device."));
        QVERIFY(rig.connect());
        form.setMode(0);

        // Creating keeps the sheet open with the secret; copying puts it on
        // the clipboard; another mode hides it.
        form.setProperty("name", QStringLiteral("Night owls"));
        form.submit();
        rig.clock.advance(1s);
        QCOMPARE(finished.count(), 0);
        QCOMPARE(form.createdSecret().size(), 32);
        form.copySecret();
        QCOMPARE(QGuiApplication::clipboard()->text(), form.createdSecret());
        form.setMode(1);
        QVERIFY(form.createdSecret().isEmpty());

        // A failed join keeps the typed secret and shows why.
        form.setProperty("secret", secret32.toUpper());
        rig.radio.failNextAnyCommand(MeshProtocol::DeviceError::tableFull);
        form.submit();
        rig.clock.advance(1s);
        QCOMPARE(finished.count(), 0);
        QCOMPARE(form.errorMessage(), QStringLiteral("Storage table is full"));
        QCOMPARE(form.property("secret").toString(), secret32.toUpper());
        form.setMode(3);
        QVERIFY(form.errorMessage().isEmpty());

        form.setProperty("hashtag", QStringLiteral(" #lora\u00a0"));
        form.submit();
        rig.clock.advance(1s);
        QCOMPARE(finished.count(), 1);
        bool joined = false;
        for (const Channel& channel : rig.controller->channels())
            joined |= channel.name == QStringLiteral("#lora");
        QVERIFY(joined);
    }
};

QTEST_MAIN(TestAddForms)
#include "test_add_forms.moc"
