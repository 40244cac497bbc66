// Contact commands, favourites and verified keys.

#include "controller_rig.h"
#include "protocol/mesh_protocol.h"
#include "sim_rig.h"
#include "test_support.h"

#include <QJSEngine>
#include <QJsonDocument>
#include <QJsonObject>
#include <QSignalSpy>
#include <QTest>

using namespace std::chrono_literals;
using TestSupport::captureVoid;
using TestSupport::hex;
using TestSupport::VoidOutcome;

namespace {

const QString aliceKey =
    QStringLiteral("a1b2c3d4e5f60718293a4b5c6d7e8f90a1b2c3d4e5f60718293a4b5c6d7e8f90");

// 63 hex digits and a full-width digit one: a check that took Unicode digits
// for hex would count 64.
const QString fullWidthTail = aliceKey.left(63) + QChar(0xFF11);

Contact radioContact(const QString& key, const QString& name, std::int8_t pathLength = -1) {
    Contact contact = makeContact(key, name, 1'699'990'000, pathLength);
    contact.outPath = QByteArray(std::max<int>(pathLength, 0), '\x3c');
    return contact;
}

} // namespace

class TestContacts : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void initTestCase() { TestSupport::isolateFromUserFiles(); }

    // --- addContact

    void addContactKeyText_data() {
        QTest::addColumn<QString>("typed");
        QTest::addColumn<bool>("connected");
        QTest::addColumn<QString>("keyHex"); // the key sent; empty: nothing sent
        QTest::addColumn<QString>("error");

        QStringList pairs;
        for (qsizetype i = 0; i < aliceKey.size(); i += 2)
            pairs << aliceKey.mid(i, 2).toUpper();
        QTest::newRow("plain") << aliceKey << true << aliceKey << "";
        QTest::newRow("upper-case pairs with colons")
            << pairs.join(QLatin1Char(':')) << true << aliceKey << "";
        QTest::newRow("spaces, tabs and line breaks")
            << QStringLiteral(" ") + aliceKey.left(20) + "\n\t" + aliceKey.mid(20) + "\r\n"
            << true << aliceKey << "";
        QTest::newRow("63 digits") << aliceKey.left(63) << true << ""
                                   << "Illegal argument";
        QTest::newRow("65 digits") << aliceKey + "0" << true << ""
                                   << "Illegal argument";
        QTest::newRow("63 digits while disconnected") << aliceKey.left(63) << false << ""
                                                      << "Illegal argument";
        QTest::newRow("non-ASCII digit is no hex digit") << fullWidthTail << true << ""
                                                         << "Illegal argument";
        QTest::newRow("non-hex letters dropped, 64 left")
            << QStringLiteral("pk: <") + aliceKey + ">" << true << aliceKey << "";
        QTest::newRow("good key while disconnected") << aliceKey << false << ""
                                                     << "Not connected to a device.";
    }
    void addContactKeyText() {
        QFETCH(QString, typed);
        QFETCH(bool, connected);
        QFETCH(QString, keyHex);
        QFETCH(QString, error);

        VoidOutcome outcome;
        ControllerRig rig;
        if (connected)
            rig.connectQuietly();
        captureVoid(rig.controller->addContact(typed, QStringLiteral("Ann"),
                                               MeshProtocol::AdvertType::chat),
                    &outcome);

        if (keyHex.isEmpty()) {
            QVERIFY(outcome.done);
            QCOMPARE(errorTextOf(outcome), error);
            QVERIFY(rig.link.written.isEmpty());
            return;
        }
        QVERIFY(!outcome.done);
        // 09, key, type 1, flags 0, no path (ff + 64 zeros), name in 32 bytes,
        // the clock's time 1 700 000 000 as last advert, latitude and longitude 0.
        const QByteArray expected = hex("09") + QByteArray::fromHex(keyHex.toLatin1()) +
                                    hex("01 00 ff") + QByteArray(64, '\0') + "Ann" +
                                    QByteArray(29, '\0') + hex("00 f1 53 65") + QByteArray(8, '\0');
        QCOMPARE(rig.link.written, QList<QByteArray>{expected});

        rig.deliver(Events::Ok{});
        QCOMPARE(rig.link.written.size(), 2); // the contact list is read again
        QCOMPARE(rig.link.written.last(), hex("04"));
        rig.deliver(Events::EndOfContacts{});
        QVERIFY(outcome.done);
        QCOMPARE(errorTextOf(outcome), QString());
    }

    void addContactThroughRadio_data() {
        QTest::addColumn<QString>("knob");
        QTest::addColumn<int>("millisToEnd"); // when the call ends, from its start
        QTest::addColumn<QString>("error");
        QTest::addColumn<bool>("listed"); // the new contact is in `contacts` right after

        QTest::newRow("accepted and read back") << "" << 60 << "" << true;
        QTest::newRow("not connected")
            << "disconnect" << 0 << "Not connected to a device." << false;
        QTest::newRow("no answer in 6 s")
            << "drop add" << 6000 << "The device did not respond in time." << false;
        QTest::newRow("radio table full") << "table full" << 30 << "Storage table is full" << false;
        QTest::newRow("re-read answered with an error") << "fail re-read" << 60 << "" << false;
        QTest::newRow("re-read times out") << "drop re-read" << 8030 << "" << false;
        QTest::newRow("link drops on the re-read") << "drop link" << 30 << "" << false;
    }
    void addContactThroughRadio() {
        QFETCH(QString, knob);
        QFETCH(int, millisToEnd);
        QFETCH(QString, error);
        QFETCH(bool, listed);

        VoidOutcome outcome;
        VoidOutcome sync;
        SimRig rig;
        rig.radio.addContact(radioContact(QString(64, QLatin1Char('b')), QStringLiteral("Bea")));
        QVERIFY(rig.connect());
        if (knob == QLatin1String("disconnect"))
            rig.radio.dropLink();
        else if (knob == QLatin1String("drop add"))
            rig.radio.dropNextAnswerTo(RadioCommand::addOrUpdateContact);
        else if (knob == QLatin1String("table full"))
            rig.radio.setContactLimit(1);
        else if (knob == QLatin1String("fail re-read"))
            rig.radio.failNextCommand(RadioCommand::getContacts,
                                      MeshProtocol::DeviceError::badState);
        else if (knob == QLatin1String("drop re-read"))
            rig.radio.dropNextAnswerTo(RadioCommand::getContacts);
        else if (knob == QLatin1String("drop link"))
            rig.radio.dropLinkOnCommand(RadioCommand::getContacts);

        captureVoid(rig.controller->addContact(aliceKey.toUpper(), QStringLiteral("Alice"),
                                               MeshProtocol::AdvertType::chat),
                    &outcome);
        QVERIFY(rig.endsAfter(outcome, millisToEnd));
        QCOMPARE(errorTextOf(outcome), error);
        QCOMPARE(rig.controller->contactForKey(aliceKey).has_value(), listed);
        if (listed) {
            QCOMPARE(rig.controller->contactForKey(aliceKey)->name, QStringLiteral("Alice"));
            QVERIFY(rig.controller->conversations().contains("contact:" + aliceKey));
        }

        if (knob == QLatin1String("drop re-read")) {
            // The radio has it; the next synchronisation lists it.
            captureVoid(rig.controller->syncContacts(), &sync);
            rig.clock.advance(100ms);
            QVERIFY(sync.done && !sync.error);
            QVERIFY(rig.controller->contactForKey(aliceKey));
        }
    }

    // --- removeContact, resetPath, shareContact

    void contactCommands_data() {
        QTest::addColumn<QString>("operation");
        QTest::addColumn<QString>("knob");
        QTest::addColumn<int>("code");
        QTest::addColumn<QString>("error");

        const struct {
            const char* name;
            int code;
        } operations[] = {{"remove", RadioCommand::removeContact},
                          {"reset path", RadioCommand::resetPath},
                          {"share", RadioCommand::shareContact}};
        for (const auto& op : operations) {
            const QString name = QString::fromLatin1(op.name);
            QTest::addRow("%s: ok", op.name) << name << "" << op.code << "";
            QTest::addRow("%s: not connected", op.name)
                << name << "disconnect" << op.code << "Not connected to a device.";
            QTest::addRow("%s: no answer in 5 s", op.name)
                << name << "drop" << op.code << "The device did not respond in time.";
            QTest::addRow("%s: unknown to the radio", op.name)
                << name << "unknown" << op.code << "Not found";
        }
    }
    void contactCommands() {
        QFETCH(QString, operation);
        QFETCH(QString, knob);
        QFETCH(int, code);
        QFETCH(QString, error);

        VoidOutcome outcome;
        SimRig rig;
        const QString bea = QString(64, QLatin1Char('b'));
        rig.radio.addContact(radioContact(aliceKey, QStringLiteral("Alice"), 2));
        rig.radio.addContact(radioContact(bea, QStringLiteral("Bea")));
        QVERIFY(rig.connect());
        const QList<Contact> before = rig.controller->contacts();
        const auto conversationsBefore = rig.controller->conversations();
        QCOMPARE(before.size(), 2);
        const Contact alice = *rig.controller->contactForKey(aliceKey);
        if (knob == QLatin1String("disconnect"))
            rig.radio.dropLink();
        else if (knob == QLatin1String("drop"))
            rig.radio.dropNextAnswerTo(std::uint8_t(code));
        else if (knob == QLatin1String("unknown"))
            rig.radio.failNextCommand(std::uint8_t(code), MeshProtocol::DeviceError::notFound);

        QSignalSpy removed(rig.controller.get(), &MeshController::contactRemoved);
        if (operation == QLatin1String("remove"))
            captureVoid(rig.controller->removeContact(alice), &outcome);
        else if (operation == QLatin1String("reset path"))
            captureVoid(rig.controller->resetPath(alice), &outcome);
        else
            captureVoid(rig.controller->shareContact(alice), &outcome);

        if (knob != QLatin1String("disconnect")) {
            QCOMPARE(rig.writtenCodes(), QList<int>{code});
            QCOMPARE(rig.radio.writtenFrames().first().mid(1),
                     QByteArray::fromHex(aliceKey.toLatin1()));
        }
        rig.clock.advance(4990ms);
        QCOMPARE(outcome.done, knob != QLatin1String("drop"));
        rig.clock.advance(10ms);
        QVERIFY(outcome.done);
        QCOMPARE(errorTextOf(outcome), error);

        const bool removedHere = operation == QLatin1String("remove") && error.isEmpty();
        if (knob == QLatin1String("disconnect")) {
            QVERIFY(rig.controller->contacts().isEmpty());
        } else if (removedHere) {
            QCOMPARE(keysOf(rig.controller->contacts()), QStringList{bea});
            QCOMPARE(removed.count(), 1);
            QCOMPARE(removed.first().first().toInt(), int(before.indexOf(alice)));
            QVERIFY(!rig.controller->conversations().contains("contact:" + aliceKey));
        } else {
            // Also after a reset path: the radio's new path arrives with the next sync.
            QCOMPARE(rig.controller->contacts(), before);
            QCOMPARE(rig.controller->contactForKey(aliceKey)->outPathLength, 2);
            QCOMPARE(rig.controller->conversations(), conversationsBefore);
            QCOMPARE(removed.count(), 0);
        }
    }

    void removingTheSelectedContact() {
        VoidOutcome outcome;
        ControllerRig rig;
        rig.connectQuietly();
        const Contact ann = makeContact(keyOf('a'), "Ann");
        rig.deliver(Events::Contact{makeContact(keyOf('0'), "Zed")});
        rig.deliver(Events::Contact{ann});
        rig.deliver(Events::Contact{ann}); // an equal push changes nothing
        rig.controller->appendMessage(incomingMessage(QStringLiteral("hi"), rig.clock.now()),
                                      ConversationID::contact(ann.publicKey));
        rig.controller->setSelectedConversation(ConversationID::contact(ann.publicKey));
        rig.controller->toggleFavorite(ann.publicKey);
        rig.controller->setVerified(ann);
        QCOMPARE(rig.controller->totalUnreadCount(), 1);
        const int savedBefore = int(rig.savedHistory()->size());

        QSignalSpy contactRemoved(rig.controller.get(), &MeshController::contactRemoved);
        QSignalSpy conversationRemoved(rig.controller.get(), &MeshController::conversationRemoved);
        QSignalSpy selection(rig.controller.get(), &MeshController::selectedConversationChanged);
        QSignalSpy badge(rig.controller.get(), &MeshController::totalUnreadCountChanged);
        captureVoid(rig.controller->removeContact(ann), &outcome);
        QCOMPARE(rig.link.written, QList<QByteArray>{hex("0f") + QByteArray(32, '\xaa')});
        QCOMPARE(selection.count(), 0); // nothing before the radio's ok
        rig.deliver(Events::Ok{});

        QVERIFY(outcome.done && !outcome.error);
        QCOMPARE(keysOf(rig.controller->contacts()), QStringList{keyOf('0')});
        QCOMPARE(contactRemoved.count(), 1);
        QCOMPARE(contactRemoved.first(), QVariantList{1});
        QCOMPARE(conversationRemoved.count(), 1);
        QCOMPARE(conversationRemoved.first(), QVariantList{"contact:" + ann.publicKey});
        QCOMPARE(selection.count(), 1);
        QVERIFY(!rig.controller->selectedConversation());
        QCOMPARE(rig.controller->totalUnreadCount(), 0);
        QCOMPARE(badge.count(), 1);
        QCOMPARE(rig.notifier.badges.last(), 0);
        QVERIFY(rig.controller->favorites().contains(ann.publicKey));
        QVERIFY(rig.controller->verifiedKeys().contains(ann.publicKey));
        // Saved at once, so the conversation does not come back after a restart.
        QCOMPARE(int(rig.savedHistory()->size()), savedBefore - 1);
        rig.controller.reset();
        rig.buildController();
        QVERIFY(!rig.controller->conversations().contains("contact:" + ann.publicKey));
    }

    // --- favourites

    void favouritesToggledTwice() {
        ControllerRig rig;
        rig.settings->setValue(QLatin1String(MeshController::favoritesKey),
                               QStringList{keyOf('1'), keyOf('2')});
        rig.buildController();
        const QSet<QString> original{keyOf('1'), keyOf('2')};
        QCOMPARE(rig.controller->favorites(), original);
        // The stored array: every favourite once, in no particular order.
        const auto stored = [&rig] {
            const QStringList list =
                rig.settings->value(QLatin1String(MeshController::favoritesKey)).toStringList();
            return QSet<QString>(list.begin(), list.end()).size() == list.size()
                       ? QSet<QString>(list.begin(), list.end())
                       : QSet<QString>{"<repeated>"};
        };

        QSignalSpy changed(rig.controller.get(), &MeshController::favoritesChanged);
        rig.controller->toggleFavorite(keyOf('3'));
        QCOMPARE(rig.controller->favorites(), original + QSet<QString>{keyOf('3')});
        QCOMPARE(stored(), rig.controller->favorites());
        rig.controller->toggleFavorite(keyOf('1'));
        QCOMPARE(stored(), (QSet<QString>{keyOf('2'), keyOf('3')}));
        rig.controller->toggleFavorite(keyOf('3'));
        rig.controller->toggleFavorite(keyOf('1'));
        QCOMPARE(rig.controller->favorites(), original);
        QCOMPARE(stored(), original);
        QCOMPARE(changed.count(), 4);

        rig.buildController(); // what the next start reads
        QCOMPARE(rig.controller->favorites(), original);
    }

    // --- verified keys

    void verifiedKeysAreStoredAsJsonObject() {
        ControllerRig rig;
        const auto storedObject = [&rig] {
            const QByteArray blob =
                rig.settings->value(QLatin1String(MeshController::verifiedKeysKey)).toByteArray();
            QJsonParseError error;
            const QJsonDocument document = QJsonDocument::fromJson(blob, &error);
            return error.error == QJsonParseError::NoError && document.isObject()
                       ? document.object().toVariantMap()
                       : QVariantMap{{"<undecodable>", blob}};
        };
        QSignalSpy changed(rig.controller.get(), &MeshController::verifiedKeysChanged);

        rig.deliver(Events::Contact{makeContact(aliceKey, "Alice ❤")});
        QVERIFY(rig.controller->setVerified(aliceKey)); // by key: the contact is looked up
        QVERIFY(!rig.controller->setVerified(keyOf('c')));
        QCOMPARE(storedObject(), (QVariantMap{{aliceKey, "Alice ❤"}}));
        rig.controller->setVerified(makeContact(keyOf('b'), "Bea"));
        rig.controller->setVerified(makeContact(aliceKey, "Alice V."));
        QCOMPARE(storedObject(), (QVariantMap{{aliceKey, "Alice V."}, {keyOf('b'), "Bea"}}));
        rig.controller->setVerified(makeContact(aliceKey, "Alice V.")); // same name again
        QCOMPARE(changed.count(), 3);

        rig.controller->clearVerified(aliceKey);
        rig.controller->clearVerified(keyOf('9')); // never verified
        QCOMPARE(changed.count(), 4);
        QCOMPARE(storedObject(), (QVariantMap{{keyOf('b'), "Bea"}}));

        rig.buildController();
        QCOMPARE(rig.controller->verifiedKeys(),
                 (MeshController::VerifiedKeyMap{{keyOf('b'), "Bea"}}));
    }

    void conflictingVerifiedKey_data() {
        QTest::addColumn<QString>("verifiedName"); // verified under key 'a'
        QTest::addColumn<QString>("name");         // of the contact with key 'b'
        QTest::addColumn<bool>("bIsVerified");     // as "Bob"
        QTest::addColumn<bool>("conflict");

        QTest::newRow("same name other case") << "Alice"
                                              << "alice" << false << true;
        QTest::newRow("different name") << "Alice"
                                        << "Alicia" << false << false;
        QTest::newRow("contact itself verified") << "Alice"
                                                 << "alice" << true << false;
        QTest::newRow("empty name") << ""
                                    << "" << false << false;
        QTest::newRow("Greek final sigma") << "ΣΟΦΙΑΣ"
                                           << "σοφιας" << false << true;
        // Deliberate: full case folding, so a look-alike spelled with "SS"
        // still warns; a false alarm is cheaper than a missed impersonation.
        QTest::newRow("sharp s against SS") << "Straße"
                                            << "STRASSE" << false << true;
        QTest::newRow("SS against sharp s") << "strasse"
                                            << "Straße" << false << true;
        QTest::newRow("ligature") << "ﬁona"
                                  << "FIONA" << false << true;
        QTest::newRow("accent is not case") << "Élan"
                                            << "elan" << false << false;
    }
    void conflictingVerifiedKey() {
        QFETCH(QString, verifiedName);
        QFETCH(QString, name);
        QFETCH(bool, bIsVerified);
        QFETCH(bool, conflict);

        ControllerRig rig;
        rig.controller->setVerified(makeContact(keyOf('a'), verifiedName));
        rig.controller->setVerified(makeContact(keyOf('c'), "Somebody else"));
        if (bIsVerified)
            rig.controller->setVerified(makeContact(keyOf('b'), "Bob"));
        const Contact b = makeContact(keyOf('b'), name);
        QCOMPARE(rig.controller->conflictingVerifiedKey(b),
                 conflict ? std::optional<QString>(keyOf('a')) : std::nullopt);

        rig.deliver(Events::Contact{b}); // the QML form looks the contact up
        QCOMPARE(rig.controller->conflictingVerifiedKey(keyOf('b')),
                 conflict ? keyOf('a') : QString());
        // A verified contact renamed is no conflict with itself.
        QCOMPARE(rig.controller->conflictingVerifiedKey(makeContact(keyOf('a'), name)),
                 std::nullopt);
    }

    // --- QML entry points

    void qmlCallbacksReceiveTheOutcome() {
        QJSEngine engine; // outlives the rig: waiting callbacks may still run in its teardown
        SimRig rig;
        QVERIFY(rig.connect());
        QJSValue results = engine.newArray();
        engine.globalObject().setProperty(QStringLiteral("results"), results);
        const QJSValue keep =
            engine.evaluate(QStringLiteral("(function (r) { results.push(r); })"));

        rig.controller->addContactQml(aliceKey.left(10), QStringLiteral("Short")).then(keep);
        rig.controller->addContactQml(aliceKey, QStringLiteral("Alice")).then(keep);
        rig.controller->addContactQml(aliceKey, QStringLiteral("Odd"), 9).then(keep);
        rig.clock.advance(200ms);
        rig.controller->resetPathQml(aliceKey).then(keep);
        rig.controller->removeContactQml(keyOf('e')).then(keep); // the radio has no such contact
        rig.clock.advance(200ms);

        QCOMPARE(results.property("length").toInt(), 5);
        const auto entry = [&results](int i) { return results.property(quint32(i)); };
        QCOMPARE(entry(0).property("ok").toBool(), false);
        QCOMPARE(entry(0).property("error").toString(), QStringLiteral("Illegal argument"));
        QCOMPARE(entry(1).property("error").toString(), QStringLiteral("Illegal argument"));
        QCOMPARE(entry(2).property("ok").toBool(), true);
        QCOMPARE(entry(2).property("error").toString(), QString());
        QCOMPARE(entry(3).property("ok").toBool(), true);
        QCOMPARE(entry(4).property("error").toString(), QStringLiteral("Not found"));
        QVERIFY(rig.controller->contactForKey(aliceKey));
    }
};

QTEST_GUILESS_MAIN(TestContacts)
#include "test_contacts.moc"
