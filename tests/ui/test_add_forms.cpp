// The add-contact and add-channel sheets: their rules and their forms against
// the simulated radio (test_window_access works the sheets by keyboard).
#include "add_channel_form.h"
#include "add_contact_form.h"
#include "logic/add_forms.h"
#include "ui_rig.h"

#include <QClipboard>
#include <QGuiApplication>
#include <QSignalSpy>
#include <QTest>
#include <QtQml/qqmlextensionplugin.h>

Q_IMPORT_QML_PLUGIN(TalvennePlugin)

using ViewLogic::AddChannelMode;

namespace {
const QString key64 = u"5e1b7c90aa42d3186f0ce297b45a813dc629f0741ea85bc3902d67e418af520b"_s;
const QString secret32 = u"0749ea267c6be7b54ca1dbbae7dba0aa"_s;
} // namespace

class TestAddForms : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void initTestCase() { QVERIFY(prepareViewTests()); }

    void trimmedFieldRemovesOnlyBlanks_data() {
        QTest::addColumn<QString>("typed");
        QTest::addColumn<QString>("trimmed");
        QTest::newRow("inner kept") << u" Aino  V "_s << u"Aino  V"_s;
        QTest::newRow("newline kept") << u"Aino\n"_s << u"Aino\n"_s;
        QTest::newRow("pasted no-break and ideographic spaces")
            << u"\u00a0#lora\u3000\u2009"_s << u"#lora"_s;
        QTest::newRow("blank") << u" \t "_s << QString();
    }
    void trimmedFieldRemovesOnlyBlanks() {
        QFETCH(QString, typed);
        QTEST(ViewLogic::trimmedField(typed), "trimmed");
    }

    void counters_data() {
        QTest::addColumn<QString>("typed");
        QTest::addColumn<int>("required"); // 0: a name's bytes
        QTest::addColumn<QString>("text");
        QTest::addColumn<bool>("isError");
        QTest::newRow("no hex at all") << u"xyz: -"_s << 64 << u"0/64"_s << false;
        QTest::newRow("partial") << key64.left(12) << 64 << u"12/64"_s << true;
        QTest::newRow("pasted with colons")
            << key64.left(2) + u':' + key64.mid(2, 30) + u" "_s + key64.mid(32) << 64 << u"64/64"_s
            << false;
        QTest::newRow("one too many") << key64 + u'a' << 64 << u"65/64"_s << true;
        QTest::newRow("secret") << secret32.toUpper() << 32 << u"32/32"_s << false;
        QTest::newRow("name, blanks around not counted")
            << u" Saana\u00a0"_s << 0 << u"5/32"_s << false;
        QTest::newRow("name, accents count twice")
            << u"Jérôme Bélanger à la Pêche Noir"_s << 0 << u"36/32"_s << true;
        QTest::newRow("name, just fits") << QString(32, u'x') << 0 << u"32/32"_s << false;
        QTest::newRow("name, emoji count four")
            << QString(7, u'x') + u"\U0001F680"_s.repeated(6) << 0 << u"31/32"_s << false;
    }
    void counters() {
        QFETCH(QString, typed);
        QFETCH(int, required);
        QFETCH(QString, text);
        QFETCH(bool, isError);
        const auto counter =
            required ? ViewLogic::hexCounter(typed, required) : ViewLogic::nameCounter(typed);
        QCOMPARE(counter, (ViewLogic::FieldCounter{text, isError}));
    }

    void submitRules_data() {
        QTest::addColumn<int>("mode"); // -1: the contact sheet
        QTest::addColumn<QString>("name");
        QTest::addColumn<QString>("hex"); // key or secret
        QTest::addColumn<QString>("hashtag");
        QTest::addColumn<bool>("working");
        QTest::addColumn<bool>("allowed");
        QTest::newRow("contact") << -1 << u"Aino"_s << key64 << QString() << false << true;
        QTest::newRow("contact, name of spaces")
            << -1 << u"   "_s << key64 << QString() << false << false;
        QTest::newRow("contact, name over 32 bytes")
            << -1 << QString(16, u'ö') + u"!"_s << key64 << QString() << false << false;
        QTest::newRow("contact, short key")
            << -1 << u"Aino"_s << key64.left(63) << QString() << false << false;
        QTest::newRow("create") << 0 << u"Owls"_s << QString() << QString() << false << true;
        QTest::newRow("create, no name")
            << 0 << u"\t"_s << QString() << QString() << false << false;
        QTest::newRow("create, name over 32 bytes")
            << 0 << QString(33, u'o') << QString() << QString() << false << false;
        QTest::newRow("join private") << 1 << u"Owls"_s << secret32 << QString() << false << true;
        QTest::newRow("join private, short secret")
            << 1 << u"Owls"_s << secret32.left(31) << QString() << false << false;
        QTest::newRow("join public") << 2 << u"Public"_s << QString() << QString() << false << true;
        QTest::newRow("join hashtag") << 3 << QString() << QString() << u"#lora"_s << false << true;
        QTest::newRow("join hashtag, 31 letters and the #")
            << 3 << QString() << QString() << QString(31, u'l') << false << true;
        QTest::newRow("join hashtag, one more")
            << 3 << QString() << QString() << QString(32, u'l') << false << false;
        QTest::newRow("join hashtag, only pasted blanks")
            << 3 << QString() << QString() << u"\u00a0\u3000"_s << false << false;
        QTest::newRow("join hashtag, working")
            << 3 << QString() << QString() << u"#lora"_s << true << false;
    }
    void submitRules() {
        QFETCH(int, mode);
        QFETCH(QString, name);
        QFETCH(QString, hex);
        QFETCH(QString, hashtag);
        QFETCH(bool, working);
        const bool result =
            mode < 0 ? ViewLogic::canAddContact(name, hex, working)
                     : ViewLogic::canAddChannel(AddChannelMode(mode), name, hex, hashtag, working);
        QTEST(result, "allowed");
    }

    // The forms add through the radio and close on success; on failure
    // they keep the fields and show the radio's error.
    void formsAddOrShowTheError() {
        UiRig rig;
        Bound<AddChannelForm> form(rig.controller);
        form.setMode(2);
        form.setProperty("name", u"Public"_s);
        form.submit();
        rig.clock.advance(1s);
        QCOMPARE(form.errorMessage(), u"Not connected to a device."_s);
        QVERIFY(rig.connect());

        Bound<AddContactForm> contact(rig.controller);
        QSignalSpy added(&contact, &AddContactForm::finished);
        contact.setProperty("name", u"  Saana "_s);
        contact.setProperty("publicKey", u"5e:1b "_s + key64.mid(4));
        QVERIFY(contact.canSubmit());
        rig.radio.failNextAnyCommand(MeshProtocol::DeviceError::tableFull);
        contact.submit();
        QVERIFY(contact.isWorking());
        QVERIFY(!contact.canSubmit());
        rig.clock.advance(1s);
        QCOMPARE(added.size(), 0);
        QCOMPARE(contact.errorMessage(), u"Storage table is full"_s);
        QVERIFY(!contact.isWorking());
        QCOMPARE(contact.property("name").toString(), u"  Saana "_s);
        contact.submit();
        QVERIFY(contact.errorMessage().isEmpty());
        rig.clock.advance(1s);
        QCOMPARE(added.size(), 1);
        QCOMPARE(rig.contactNamed(u"Saana"_s).value_or(Contact()).publicKey, key64);

        // Creating keeps the sheet open with the secret; copying puts it on
        // the clipboard; another mode hides it.
        QSignalSpy finished(&form, &AddChannelForm::finished);
        form.setMode(0);
        form.setProperty("name", u"Night owls"_s);
        form.submit();
        rig.clock.advance(1s);
        QCOMPARE(finished.size(), 0);
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
        QCOMPARE(finished.size(), 0);
        QCOMPARE(form.errorMessage(), u"Storage table is full"_s);
        QCOMPARE(form.property("secret").toString(), secret32.toUpper());
        form.setMode(3);
        QVERIFY(form.errorMessage().isEmpty());

        form.setProperty("hashtag", u" #lora\u00a0"_s);
        form.submit();
        rig.clock.advance(1s);
        QCOMPARE(finished.size(), 1);
        bool joined = false;
        for (const Channel& channel : rig.controller->channels())
            joined |= channel.name == u"#lora"_s;
        QVERIFY(joined);
    }
};

QTEST_MAIN(TestAddForms)
#include "test_add_forms.moc"
