#include "book/node_book_store.h"
#include "sim/radio_frames.h"
#include "sim_rig.h"

#include <QDir>
#include <QFile>
#include <QSignalSpy>
#include <QTest>

using namespace std::chrono_literals;

namespace {

Contact neighbour(char digit, const QString& name, qint64 lastAdvert) {
    Contact contact;
    contact.publicKey = QString(64, QLatin1Char(digit));
    contact.name = name;
    contact.type = MeshProtocol::AdvertType::chat;
    contact.lastAdvert = QDateTime::fromSecsSinceEpoch(lastAdvert, Qt::UTC);
    return contact;
}

QStringList keysOf(const QList<Contact>& contacts) {
    QStringList keys;
    for (const Contact& contact : contacts)
        keys << contact.publicKey;
    return keys;
}

// A simulated radio with three neighbours, and the books beside the history.
struct BookRig : SimRig {
    NodeBookStore books{dir.path()};

    BookRig() {
        radio.addContact(neighbour('1', QStringLiteral("Ridge"), 1'700'000'300));
        radio.addContact(neighbour('2', QStringLiteral("Harbour"), 1'700'000'200));
        radio.addContact(neighbour('3', QStringLiteral("Mill"), 1'700'000'100));
        controller->setNodeBookStore(&books);
    }

    // The app starting again: a new controller over the same files.
    void restart() {
        controller.reset();
        buildController();
        controller->setNodeBookStore(&books);
    }

    std::optional<NodeBook> savedBook() {
        books.flush();
        return books.load(radio.selfInfo().publicKey).book;
    }
};

} // namespace

class TestNodeBooks : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void initTestCase() { TestSupport::isolateFromUserFiles(); }

    // The book follows the radio through the handshake and between: an
    // advert lands in it a little later, a burst of them in one write.
    void bookFollowsTheRadio() {
        BookRig rig;
        QVERIFY(rig.connect());
        rig.clock.advance(MeshController::nodeBookWriteDelay);
        std::optional<NodeBook> book = rig.savedBook();
        QVERIFY(book);
        QCOMPARE(book->selfInfo, *rig.controller->selfInfo());
        QCOMPARE(book->deviceInfo, rig.controller->deviceInfo());
        QCOMPARE(book->contacts, rig.controller->contacts());
        QCOMPARE(book->channels, rig.controller->channels());
        QCOMPARE(rig.settings->value(MeshController::lastDeviceKeyKey).toString(),
                 rig.radio.selfInfo().publicKey);

        const QString path = rig.books.pathFor(rig.radio.selfInfo().publicKey);
        const QDateTime written = QFileInfo(path).lastModified();
        rig.radio.pushFrame(RadioFrames::contactFrame(neighbour('4', QStringLiteral("Quay"), 5),
                                                      RadioFrames::Code::newAdvert));
        rig.radio.pushFrame(RadioFrames::contactFrame(neighbour('5', QStringLiteral("Pier"), 6),
                                                      RadioFrames::Code::newAdvert));
        rig.clock.advance(100ms);
        QCOMPARE(rig.controller->contacts().size(), 5);
        rig.books.flush();
        QCOMPARE(QFileInfo(path).lastModified(), written); // not yet
        rig.clock.advance(MeshController::nodeBookWriteDelay);
        book = rig.savedBook();
        QCOMPARE(book->contacts, rig.controller->contacts());
    }

    // The link ends: the lists stay as the radio left them, the selection
    // too, and the book holds them at once.
    void radioAwayKeepsItsLists() {
        BookRig rig;
        QVERIFY(rig.connect());
        const QList<Contact> contacts = rig.controller->contacts();
        const auto selected = ConversationID::contact(contacts.at(1).publicKey);
        rig.controller->setSelectedConversation(selected);
        rig.radio.pushFrame(RadioFrames::contactFrame(neighbour('4', QStringLiteral("Quay"), 5),
                                                      RadioFrames::Code::newAdvert));
        rig.clock.advance(100ms);
        rig.radio.dropLink();
        rig.clock.advance(100ms);
        QVERIFY(rig.controller->radioAway());
        QCOMPARE(rig.controller->contacts().size(), 4);
        QCOMPARE(rig.controller->selectedConversation(), selected);
        QCOMPARE(rig.controller->battery(), std::nullopt);
        QCOMPARE(rig.savedBook()->contacts, rig.controller->contacts());
    }

    // At the next start the window opens from the book; when the radio is
    // back its answers replace the book's where they stand: nothing emptied,
    // nothing twice, the dropped contact gone, the selection kept.
    void handshakeReplacesTheBookInPlace() {
        BookRig rig;
        QVERIFY(rig.connect());
        ChatMessage hello;
        hello.id = QUuid::createUuid();
        hello.direction = ChatMessage::Direction::incoming;
        hello.text = QStringLiteral("hello");
        hello.timestamp = rig.clock.now();
        rig.controller->appendMessage(hello,
                                      ConversationID::contact(QString(64, QLatin1Char('2'))));
        rig.controller->disconnectFromDevice();
        rig.clock.advance(100ms);

        rig.restart();
        QVERIFY(rig.controller->radioAway());
        QVERIFY(rig.controller->contacts().isEmpty());
        QVERIFY(rig.controller->openRememberedBook());
        QCOMPARE(keysOf(rig.controller->contacts()),
                 keysOf(rig.radio.contacts())); // newest advert first, as the radio's
        QCOMPARE(rig.controller->selfInfo(), rig.radio.selfInfo());
        const auto selected = ConversationID::contact(QString(64, QLatin1Char('3')));
        rig.controller->setSelectedConversation(selected);

        rig.radio.forgetContact(QString(64, QLatin1Char('2')));
        Contact renamed = neighbour('1', QStringLiteral("Ridge top"), 1'700'000'300);
        rig.radio.addContact(renamed);
        QSignalSpy resets(rig.controller.get(), &MeshController::contactsReset);
        QSignalSpy channelResets(rig.controller.get(), &MeshController::channelsReset);
        QSignalSpy removed(rig.controller.get(), &MeshController::contactRemoved);
        QSignalSpy inserted(rig.controller.get(), &MeshController::contactInserted);
        QSignalSpy contactsChanged(rig.controller.get(), &MeshController::contactsChanged);
        int smallest = int(rig.controller->contacts().size());
        connect(rig.controller.get(), &MeshController::contactsChanged, this,
                [&] { smallest = std::min(smallest, int(rig.controller->contacts().size())); });
        QVERIFY(rig.connect());
        QVERIFY(!rig.controller->radioAway());
        QCOMPARE(resets.size(), 0);
        QCOMPARE(channelResets.size(), 0);
        QCOMPARE(inserted.size(), 0);
        QCOMPARE(removed.size(), 1);
        QCOMPARE(smallest, 2);
        QCOMPARE(keysOf(rig.controller->contacts()), keysOf(rig.radio.contacts()));
        QCOMPARE(rig.controller->contacts().first().name, QStringLiteral("Ridge top"));
        QCOMPARE(rig.controller->selectedConversation(), selected);
        // The dropped contact's conversation stays in the history.
        QVERIFY(rig.controller->conversations().contains(
            ConversationID::contact(QString(64, QLatin1Char('2'))).conversationKey()));
        rig.clock.advance(MeshController::nodeBookWriteDelay);
        QCOMPARE(rig.savedBook()->contacts, rig.controller->contacts());
    }

    // A damaged book costs only the book: it is kept aside, the reason is
    // shown, and the window still opens (from the history alone).
    void damagedBookIsKeptAside() {
        BookRig rig;
        QVERIFY(rig.connect());
        rig.controller->disconnectFromDevice();
        rig.clock.advance(100ms);
        rig.books.flush();
        QFile book(rig.books.pathFor(rig.radio.selfInfo().publicKey));
        QVERIFY(book.open(QIODevice::WriteOnly | QIODevice::Truncate));
        book.write("{\"version\":1,\"self\":{\"pub");
        book.close();

        rig.restart();
        QVERIFY(rig.controller->radioAway());
        QVERIFY(!rig.controller->openRememberedBook());
        QVERIFY(!rig.controller->nodeBookError().isEmpty());
        QVERIFY(rig.controller->contacts().isEmpty());
        QCOMPARE(QDir(rig.dir.path()).entryList({QStringLiteral("nodes-*.damaged-*")}).size(), 1);
    }
};

QTEST_GUILESS_MAIN(TestNodeBooks)
#include "test_node_books.moc"
