#include "bluez_rig.h"
#include "book/node_book_store.h"

#include <QDir>
#include <QFile>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QProcess>
#include <QSet>
#include <QTemporaryDir>
#include <QTest>

using namespace std::chrono_literals;

namespace {

const QString yesterdaysText = QStringLiteral("See you at the hut at nine");

// The real binary, started as a user would start it, with its folders and
// buses in the test's own place, read and clicked through its window probe.
class RunningApp {
public:
    ~RunningApp() { stop(); }

    bool start(const QString& home, const QString& systemBus, const QString& sessionBus) {
        QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
        environment.insert(QStringLiteral("XDG_DATA_HOME"), home + QStringLiteral("/data"));
        environment.insert(QStringLiteral("XDG_CONFIG_HOME"), home + QStringLiteral("/config"));
        environment.insert(QStringLiteral("XDG_CACHE_HOME"), home + QStringLiteral("/cache"));
        environment.insert(QStringLiteral("DBUS_SYSTEM_BUS_ADDRESS"), systemBus);
        environment.insert(QStringLiteral("DBUS_SESSION_BUS_ADDRESS"), sessionBus);
        environment.insert(QStringLiteral("BLUETOOTH_FORCE_DBUS_LE_VERSION"),
                           QStringLiteral("5.66"));
        environment.insert(QStringLiteral("QT_QPA_PLATFORM"), QStringLiteral("offscreen"));
        environment.insert(QStringLiteral("LANGUAGE"), QStringLiteral("en"));
        environment.insert(QStringLiteral("TALVENNE_WINDOW_PROBE"), QStringLiteral("1"));
        m_process.setProcessEnvironment(environment);
        m_process.setProcessChannelMode(QProcess::ForwardedErrorChannel);
        m_process.setReadChannel(QProcess::StandardOutput);
        endWithParent(m_process);
        m_process.start(QStringLiteral(TALVENNE_PATH), {});
        return m_process.waitForStarted(5000);
    }
    void stop() {
        if (m_process.state() == QProcess::NotRunning)
            return;
        m_process.closeWriteChannel();
        m_process.terminate();
        if (!m_process.waitForFinished(5000))
            m_process.kill();
        m_process.waitForFinished(1000);
    }

    // What the window shows: visible named items' texts by name.
    QJsonObject texts() {
        const QByteArray answer = ask("texts");
        return QJsonDocument::fromJson(answer).object();
    }
    QStringList shown(const QString& name) {
        QStringList texts;
        for (const QJsonValue& text : this->texts().value(name).toArray())
            texts.append(text.toString());
        return texts;
    }
    bool click(const QString& name, int index = 0) {
        return ask(QStringLiteral("click %1 %2").arg(name).arg(index).toUtf8()) == "clicked";
    }
    // Waits for `done` on what the window shows; says what it showed when
    // the wait fails.
    bool waitFor(const std::function<bool()>& done, int millis = 15000) {
        if (QTest::qWaitFor(done, millis))
            return true;
        qWarning("The window shows: %s",
                 QJsonDocument(texts()).toJson(QJsonDocument::Compact).constData());
        return false;
    }

private:
    QByteArray ask(const QByteArray& command) {
        m_process.write(command + '\n');
        while (!m_process.canReadLine()) {
            if (!m_process.waitForReadyRead(5000))
                return {};
        }
        return m_process.readLine().trimmed();
    }

    QProcess m_process;
};

} // namespace

class TestE2eApp : public QObject {
    Q_OBJECT

    PrivateBus m_systemBus;
    PrivateBus m_sessionBus;
    QString m_systemAddress;
    QString m_sessionAddress;
    QTemporaryDir m_home;
    QString m_radioKey;
    QString m_friendName;
    QString m_friendKey;
    QString m_droppedName;
    QString m_droppedKey;

    QString dataFolder() const { return m_home.filePath(QStringLiteral("data/Talvenne")); }
    QString bookPath() const {
        return dataFolder() + QStringLiteral("/nodes-") + m_radioKey + QStringLiteral(".json");
    }

private Q_SLOTS:
    // Yesterday: the app's own composition connected to radio A, wrote to a
    // contact, and ended without the user disconnecting. It leaves the
    // history, radio A's book and the remembered radio where the app keeps
    // them.
    void initTestCase() {
        QVERIFY(m_home.isValid());
        QVERIFY(startAsSystemBus(m_systemBus));
        m_systemAddress = QString::fromUtf8(qgetenv("DBUS_SYSTEM_BUS_ADDRESS"));
        m_sessionAddress = m_sessionBus.start();
        QVERIFY(!m_sessionAddress.isEmpty());
        QVERIFY(QDir().mkpath(dataFolder()));
        QVERIFY(QDir().mkpath(m_home.filePath(QStringLiteral("config/Talvenne"))));

        StandInBluez bluez;
        QVERIFY(bluez.start());
        ManualClock clock;
        RecordingNotifier notifier;
        QtBleAdapter adapter;
        BluetoothTransport link(&adapter, &clock);
        ConversationStore store(dataFolder() + QStringLiteral("/conversations.json"));
        NodeBookStore books(dataFolder());
        QSettings settings(m_home.filePath(QStringLiteral("config/Talvenne/Talvenne.conf")),
                           QSettings::IniFormat);
        {
            MeshController controller(&link, &clock, &notifier, &store, &settings);
            controller.setNodeBookStore(&books);
            QVERIFY(QTest::qWaitFor(
                [&] { return controller.transportState() == TransportState::ready; }, 5000));
            controller.startScan();
            std::optional<DiscoveredDevice> radio;
            QVERIFY(QTest::qWaitFor(
                [&] {
                    for (const DiscoveredDevice& found : controller.discoveredDevices())
                        if (found.address == StandInBluez::radioA)
                            radio = found;
                    return radio.has_value();
                },
                5000));
            controller.connectToDevice(*radio);
            QVERIFY(QTest::qWaitFor(
                [&] {
                    clock.advance(40ms);
                    return controller.transportState() == TransportState::connected &&
                           !controller.isSyncing() && controller.selfInfo().has_value();
                },
                10000));
            QList<Contact> chats = controller.contacts();
            chats.removeIf(
                [](const Contact& c) { return c.type != MeshProtocol::AdvertType::chat; });
            QVERIFY(chats.size() >= 2);
            m_radioKey = controller.selfInfo()->publicKey;
            m_friendName = chats[0].name;
            m_friendKey = chats[0].publicKey;
            m_droppedName = chats[1].name;
            m_droppedKey = chats[1].publicKey;
            controller.sendMessage(yesterdaysText, ConversationID::contact(m_friendKey));
            QVERIFY(controller.conversations().contains(
                ConversationID::contact(m_friendKey).conversationKey()));
            // The book is written a moment after the radio's last report.
            QVERIFY(QTest::qWaitFor(
                [&] {
                    clock.advance(200ms);
                    return QFile::exists(bookPath());
                },
                10000));
        }
        settings.sync();
        QVERIFY(QFile::exists(dataFolder() + QStringLiteral("/conversations.json")));
    }

    // No Bluetooth service at all: the window opens on the book, lists the
    // conversation under its contact's name and opens it; then the radio is
    // back with one contact fewer, and its lists replace the book's.
    void opensFromTheBookAndTakesTheRadioBack() {
        StandInBluez bluez;
        QVERIFY(bluez.start({QStringLiteral("--no-service")}));
        bluez.call("ForgetContact", StandInBluez::radioA, m_droppedKey);

        RunningApp app;
        QVERIFY(app.start(m_home.path(), m_systemAddress, m_sessionAddress));
        QVERIFY(app.waitFor(
            [&] { return app.shown(QStringLiteral("rowTitle")).contains(m_friendName); }));
        QCOMPARE(app.shown(QStringLiteral("pillSecondLine")).value(0),
                 QStringLiteral("Radio away"));
        QVERIFY(app.shown(QStringLiteral("connectionTitle")).isEmpty());

        // Every row of the book, the contact the radio has since dropped among them.
        const QStringList fromBook = app.shown(QStringLiteral("rowTitle"));
        QVERIFY(fromBook.contains(m_droppedName));

        const int row = fromBook.indexOf(m_friendName);
        QVERIFY(app.click(QStringLiteral("rowTitle"), row));
        QVERIFY(app.waitFor(
            [&] { return app.shown(QStringLiteral("messageText")).contains(yesterdaysText); }));
        QCOMPARE(app.shown(QStringLiteral("chatTitle")).value(0), m_friendName);

        // The radio is back: its lists take the book's place, each row once,
        // the dropped contact gone, the open chat still open.
        QVERIFY(bluez.call("ClaimService").toBool());
        QVERIFY(app.waitFor(
            [&] {
                return app.shown(QStringLiteral("pillSecondLine")).value(0) !=
                           QStringLiteral("Radio away") &&
                       !app.shown(QStringLiteral("rowTitle")).contains(m_droppedName);
            },
            30000));
        QStringList expected = fromBook;
        expected.removeOne(m_droppedName);
        QStringList fromRadio = app.shown(QStringLiteral("rowTitle"));
        expected.sort();
        fromRadio.sort();
        QCOMPARE(fromRadio, expected);
        QCOMPARE(app.shown(QStringLiteral("chatTitle")).value(0), m_friendName);
        QVERIFY(app.shown(QStringLiteral("messageText")).contains(yesterdaysText));

        // The nodes, each once.
        QVERIFY(app.click(QStringLiteral("segment_nodes")));
        QVERIFY(app.waitFor(
            [&] { return !app.shown(QStringLiteral("rowTitle")).contains(m_friendName); }));
        const QStringList nodes = app.shown(QStringLiteral("rowTitle"));
        QVERIFY(!nodes.isEmpty());
        QCOMPARE(QSet<QString>(nodes.begin(), nodes.end()).size(), nodes.size());
    }

    // A damaged book costs only the book: the window opens from the history
    // with the key for the name, says so, and the file is kept aside.
    void aDamagedBookCostsOnlyTheBook() {
        QFile book(bookPath());
        QVERIFY(book.open(QIODevice::WriteOnly | QIODevice::Truncate));
        book.write("{\"version\": 1, \"radio\": {\"publicKey\": ");
        book.close();

        StandInBluez bluez;
        QVERIFY(bluez.start({QStringLiteral("--no-service")}));
        RunningApp app;
        QVERIFY(app.start(m_home.path(), m_systemAddress, m_sessionAddress));
        QVERIFY(app.waitFor([&] { return !app.shown(QStringLiteral("rowTitle")).isEmpty(); }));
        const QStringList rows = app.shown(QStringLiteral("rowTitle"));
        QVERIFY(!rows.contains(m_friendName));
        QVERIFY(std::any_of(rows.begin(), rows.end(), [&](const QString& row) {
            return row.contains(m_friendKey.left(8), Qt::CaseInsensitive);
        }));
        QVERIFY(app.waitFor(
            [&] { return !app.shown(QStringLiteral("nodeBookWarningText")).isEmpty(); }));
        const QStringList aside = QDir(dataFolder()).entryList({QStringLiteral("nodes-*")});
        QVERIFY2(aside.size() == 1 && aside[0] != QFileInfo(bookPath()).fileName(),
                 qPrintable(aside.join(QLatin1Char(' '))));
        QFile kept(dataFolder() + QLatin1Char('/') + aside[0]);
        QVERIFY(kept.open(QIODevice::ReadOnly));
        QCOMPARE(kept.readAll(), QByteArray("{\"version\": 1, \"radio\": {\"publicKey\": "));
    }
};

QTEST_MAIN(TestE2eApp)
#include "test_e2e_app.moc"
