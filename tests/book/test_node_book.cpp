#include "book/node_book_file.h"
#include "book/node_book_store.h"
#include "test_support.h"

#include <QDir>
#include <QFile>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QSignalSpy>
#include <QTemporaryDir>
#include <QTest>

namespace {

QString key(char digit) {
    return QString(64, QLatin1Char(digit));
}

Contact contact(char digit, const QString& name) {
    Contact c;
    c.publicKey = key(digit);
    c.name = name;
    c.type = MeshProtocol::AdvertType::repeaterNode;
    c.flags = 1;
    c.outPathLength = 2;
    c.outPath = QByteArray("\x12\x34", 2);
    c.lastAdvert = QDateTime::fromSecsSinceEpoch(1'700'000'000, Qt::UTC);
    c.lastModified = QDateTime::fromSecsSinceEpoch(1'700'000'100, Qt::UTC);
    c.latitude = 60.17;
    c.longitude = 24.94;
    return c;
}

NodeBook sampleBook(char radio = 'a') {
    NodeBook book;
    book.selfInfo.publicKey = key(radio);
    book.selfInfo.name = QStringLiteral("Base <b>camp</b>");
    book.selfInfo.advertType = MeshProtocol::AdvertType::chat;
    book.selfInfo.txPower = 20;
    book.selfInfo.maxTxPower = 22;
    book.selfInfo.latitude = -33.5;
    book.selfInfo.longitude = 151.25;
    book.selfInfo.radioFrequency = 869.525;
    book.selfInfo.radioBandwidth = 250;
    book.selfInfo.radioSpreadingFactor = 11;
    book.selfInfo.radioCodingRate = 5;
    book.deviceInfo = DeviceInfo{8, QStringLiteral("1 Jan 2026"), QStringLiteral("T-Echo")};
    book.contacts = {contact('1', QStringLiteral("Ridge")),
                     contact('2', QStringLiteral("Mökki 🏔"))};
    book.channels = {
        {0, QStringLiteral("Public"), QStringLiteral("8b3387e9c5cdea6ac9e5edbaa115cd72")},
        {3, QStringLiteral("#hike"), QStringLiteral("00112233445566778899aabbccddeeff")}};
    return book;
}

QJsonObject bookObject(const NodeBook& book) {
    return QJsonDocument::fromJson(NodeBookFile::encode(book)).object();
}

QByteArray bytes(const QJsonObject& object) {
    return QJsonDocument(object).toJson(QJsonDocument::Compact);
}

QJsonArray manyContacts(int count, char firstDigit = '0') {
    QJsonArray contacts;
    for (int i = 0; i < count; ++i) {
        QJsonObject c = QJsonDocument::fromJson(NodeBookFile::encode(sampleBook()))
                            .object()[QLatin1String("contacts")]
                            .toArray()
                            .first()
                            .toObject();
        c[QLatin1String("publicKey")] =
            QStringLiteral("%1").arg(i, 64, 16, QLatin1Char(firstDigit));
        contacts.append(c);
    }
    return contacts;
}

} // namespace

class TestNodeBook : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void initTestCase() { TestSupport::isolateFromUserFiles(); }

    void roundTrip() {
        const NodeBook book = sampleBook();
        QString reason;
        const auto decoded = NodeBookFile::decode(NodeBookFile::encode(book), reason);
        QVERIFY2(decoded, qPrintable(reason));
        QCOMPARE(*decoded, book);

        NodeBook bare;
        bare.selfInfo.publicKey = key('b');
        QCOMPARE(NodeBookFile::decode(NodeBookFile::encode(bare), reason), bare);
    }

    // Books edited by hand: what can be read is read within bounds, what
    // cannot is refused with a reason.
    void hostileContent_data() {
        QTest::addColumn<QByteArray>("file");
        QTest::addColumn<bool>("loads");
        QTest::addColumn<int>("contacts");
        QTest::addColumn<int>("longestName");
        QTest::addColumn<bool>("firstPositioned");

        const QJsonObject good = bookObject(sampleBook());
        const auto with = [&good](const char* member, const QJsonValue& value) {
            QJsonObject changed = good;
            changed[QLatin1String(member)] = value;
            return bytes(changed);
        };
        const auto withContact = [&](const char* member, const QJsonValue& value) {
            QJsonArray contacts = good[QLatin1String("contacts")].toArray();
            QJsonObject first = contacts.at(0).toObject();
            first[QLatin1String(member)] = value;
            contacts[0] = first;
            return with("contacts", contacts);
        };
        QJsonObject otherSelf = good[QLatin1String("self")].toObject();
        otherSelf[QLatin1String("publicKey")] = QStringLiteral("not a key");

        QTest::newRow("not json") << QByteArray("{\"version\":1,") << false << 0 << 0 << false;
        QTest::newRow("an array") << QByteArray("[]") << false << 0 << 0 << false;
        QTest::newRow("unknown version") << with("version", 7) << false << 0 << 0 << false;
        QTest::newRow("no radio key") << with("self", otherSelf) << false << 0 << 0 << false;
        QTest::newRow("larger than any book")
            << QByteArray(NodeBookLimits::maxFileBytes + 1, ' ') << false << 0 << 0 << false;
        QTest::newRow("10,000 contacts") << with("contacts", manyContacts(10'000)) << true
                                         << NodeBookLimits::maxContacts << 5 << true;
        QTest::newRow("64 KB name") << withContact("name", QString(65'536, QLatin1Char('x')))
                                    << true << 2 << NodeBookLimits::maxNameLength << true;
        QTest::newRow("latitude beyond a pole")
            << withContact("latitude", 91.0) << true << 2 << 8 << false;
        QTest::newRow("longitude beyond the date line")
            << withContact("longitude", -180.5) << true << 2 << 8 << false;
        QTest::newRow("duplicate keys")
            << with("contacts", QJsonArray{good[QLatin1String("contacts")].toArray().at(0),
                                           good[QLatin1String("contacts")].toArray().at(0)})
            << true << 1 << 5 << true;
        QTest::newRow("uppercase key")
            << withContact("publicKey", key('A')) << true << 1 << 8 << true;
        QTest::newRow("contacts not a list") << with("contacts", 5) << true << 0 << 0 << false;
    }

    void hostileContent() {
        QFETCH(QByteArray, file);
        QFETCH(bool, loads);
        QFETCH(int, contacts);
        QFETCH(int, longestName);
        QFETCH(bool, firstPositioned);
        QString reason;
        const auto book = NodeBookFile::decode(file, reason);
        QCOMPARE(bool(book), loads);
        QCOMPARE(reason.isEmpty(), loads);
        if (!book)
            return;
        QCOMPARE(book->contacts.size(), contacts);
        qsizetype longest = 0;
        for (const Contact& c : book->contacts) {
            QVERIFY(NodeBookFile::isPublicKey(c.publicKey));
            longest = std::max(longest, c.name.size());
        }
        QCOMPARE(longest, longestName);
        const bool positioned =
            !book->contacts.isEmpty() &&
            (book->contacts.first().latitude != 0 || book->contacts.first().longitude != 0);
        QCOMPARE(positioned, firstPositioned);
    }

    // A name cut at the limit never keeps half of a surrogate pair.
    void cutNameStaysWhole() {
        QJsonObject object = bookObject(sampleBook());
        QJsonObject self = object[QLatin1String("self")].toObject();
        self[QLatin1String("name")] = QString(NodeBookLimits::maxNameLength - 1, QLatin1Char('x')) +
                                      QStringLiteral("🏔🏔");
        object[QLatin1String("self")] = self;
        QString reason;
        const auto book = NodeBookFile::decode(bytes(object), reason);
        QVERIFY(book);
        QCOMPARE(book->selfInfo.name, QString(NodeBookLimits::maxNameLength - 1, QLatin1Char('x')));
    }

    void storeWritesPrivatelyAndReadsBack() {
        QTemporaryDir folder;
        NodeBookStore store(folder.path());
        NodeBook book = sampleBook();
        store.save(book);
        book.contacts.removeFirst();
        store.save(book); // the newer one wins
        store.flush();
        QCOMPARE(store.error(), QString());
        const QString path = store.pathFor(key('a'));
        QCOMPARE(QFile::permissions(path) & 0x0077, QFileDevice::Permissions());
        const NodeBookStore::Loaded loaded = store.load(key('a'));
        QCOMPARE(loaded.book, book);
        QCOMPARE(loaded.problem, QString());
        QCOMPARE(store.load(key('b')).book, std::nullopt);
        QCOMPARE(store.load(key('b')).problem, QString());

        QVERIFY(store.remove(key('a')));
        QVERIFY(!QFile::exists(path));
        QCOMPARE(store.load(key('a')).book, std::nullopt);
    }

    // A book that cannot be used is kept aside, never deleted, and says why.
    void unusableBookMovedAside_data() {
        QTest::addColumn<QByteArray>("file");
        QTest::newRow("damaged") << QByteArray("{\"version\":1,\"self\":{\"publ");
        QTest::newRow("another radio's") << NodeBookFile::encode(sampleBook('c'));
    }

    void unusableBookMovedAside() {
        QFETCH(QByteArray, file);
        QTemporaryDir folder;
        NodeBookStore store(folder.path());
        const QString path = store.pathFor(key('a'));
        QFile out(path);
        QVERIFY(out.open(QIODevice::WriteOnly));
        out.write(file);
        out.close();
        const NodeBookStore::Loaded loaded = store.load(key('a'));
        QCOMPARE(loaded.book, std::nullopt);
        QVERIFY(!loaded.problem.isEmpty());
        QVERIFY(!QFile::exists(path));
        const QStringList aside = QDir(folder.path()).entryList({QStringLiteral("*.damaged-*")});
        QCOMPARE(aside.size(), 1);
        QFile kept(folder.filePath(aside.first()));
        QVERIFY(kept.open(QIODevice::ReadOnly));
        QCOMPARE(kept.readAll(), file);
    }

    // A write that cannot be done says why and leaves the last book.
    void failedWriteKeepsTheLastBook() {
        QTemporaryDir parent;
        QFile notAFolder(parent.filePath(QStringLiteral("file")));
        QVERIFY(notAFolder.open(QIODevice::WriteOnly));
        notAFolder.close();
        NodeBookStore nowhere(notAFolder.fileName() + QStringLiteral("/books"));
        nowhere.save(sampleBook());
        nowhere.flush();
        QVERIFY(!nowhere.error().isEmpty());

        if (geteuid() == 0)
            QSKIP("root writes into read-only folders");
        QTemporaryDir folder;
        NodeBookStore store(folder.path());
        QSignalSpy errors(&store, &NodeBookStore::errorChanged);
        const NodeBook first = sampleBook();
        store.save(first);
        store.flush();
        QVERIFY(
            QFile::setPermissions(folder.path(), QFileDevice::ReadOwner | QFileDevice::ExeOwner));
        NodeBook second = first;
        second.contacts.clear();
        store.save(second);
        store.flush();
        QVERIFY(!store.error().isEmpty());
        QCOMPARE(errors.size(), 1);
        QCOMPARE(store.load(key('a')).book, first);
        QVERIFY(QFile::setPermissions(folder.path(), QFileDevice::ReadOwner |
                                                         QFileDevice::WriteOwner |
                                                         QFileDevice::ExeOwner));
        store.save(second);
        store.flush();
        QCOMPARE(store.error(), QString());
        QCOMPARE(errors.size(), 2);
        QCOMPARE(store.load(key('a')).book, second);
    }

    // Every book lends its names; a damaged one lends none.
    void knownNamesFromEveryBook() {
        QTemporaryDir folder;
        NodeBookStore store(folder.path());
        NodeBook home = sampleBook('a');
        NodeBook away = sampleBook('b');
        away.contacts = {contact('3', QStringLiteral("Harbour")), contact('1', QString())};
        store.save(home);
        store.save(away);
        store.flush();
        QFile damaged(store.pathFor(key('c')));
        QVERIFY(damaged.open(QIODevice::WriteOnly));
        damaged.write("{");
        damaged.close();
        const QHash<QString, QString> names = store.knownNames();
        QCOMPARE(names.value(key('1')), QStringLiteral("Ridge"));
        QCOMPARE(names.value(key('2')), QStringLiteral("Mökki 🏔"));
        QCOMPARE(names.value(key('3')), QStringLiteral("Harbour"));
        QCOMPARE(names.size(), 3);
    }
};

QTEST_GUILESS_MAIN(TestNodeBook)
#include "test_node_book.moc"
