#include "../e2e/private_bus.h"
#include "notifications/notification_manager.h"
#include "notifications/notification_text.h"
#include "translations.h"

#include <QDBusConnection>
#include <QDBusMessage>
#include <QDBusMetaType>
#include <QDBusPendingCall>
#include <QSignalSpy>
#include <QTest>
#include <memory>

using namespace Qt::StringLiterals;

namespace {

const QString serviceName = u"org.freedesktop.Notifications"_s;
const QString servicePath = u"/org/freedesktop/Notifications"_s;

// Stands in for the desktop's notification server and records what it is told.
class FakeNotificationServer : public QObject {
    Q_OBJECT
    Q_CLASSINFO("D-Bus Interface", "org.freedesktop.Notifications")

public:
    struct Notification {
        QString appName;
        uint replacesId = 0;
        QString appIcon;
        QString summary;
        QString body;
        QStringList actions;
        QVariantMap hints;
        int expireTimeout = 0;
    };

    QList<Notification> notifications;
    QList<uint> closed;
    QStringList capabilities{u"body"_s, u"sound"_s};
    int informationRequests = 0;
    int capabilityRequests = 0;

    void reset(QStringList caps) {
        notifications.clear();
        closed.clear();
        capabilities = std::move(caps);
        informationRequests = 0;
        capabilityRequests = 0;
    }

public Q_SLOTS:
    uint Notify(const QString& appName, uint replacesId, const QString& appIcon,
                const QString& summary, const QString& body, const QStringList& actions,
                const QVariantMap& hints, int expireTimeout) {
        notifications.append(
            {appName, replacesId, appIcon, summary, body, actions, hints, expireTimeout});
        // A replaced notification keeps its id; a new one gets the next.
        return replacesId != 0 ? replacesId : uint(100 + notifications.size());
    }

    void CloseNotification(uint id) { closed.append(id); }

    QString GetServerInformation(QString& vendor, QString& version, QString& specVersion) {
        ++informationRequests;
        vendor = u"Talvenne tests"_s;
        version = u"1"_s;
        specVersion = u"1.2"_s;
        return u"fake-server"_s;
    }

    QStringList GetCapabilities() {
        ++capabilityRequests;
        return capabilities;
    }
};

class LauncherEntryListener : public QObject {
    Q_OBJECT

public:
    QList<QDBusMessage> updates;

public Q_SLOTS:
    void update(const QDBusMessage& message) { updates.append(message); }
};

} // namespace

class TestNotificationManager : public QObject {
    Q_OBJECT

private:
    std::unique_ptr<PrivateBus> m_bus;
    FakeNotificationServer m_server;

    static QDBusConnection appBus() { return QDBusConnection(u"talvenne-app"_s); }
    static QDBusConnection serverBus() { return QDBusConnection(u"talvenne-server"_s); }

    bool registerServer() {
        return serverBus().registerObject(servicePath, &m_server,
                                          QDBusConnection::ExportAllSlots) &&
               serverBus().registerService(serviceName);
    }

    // What the server was told, one "replaced id title: body" per notification.
    QStringList shown() const {
        QStringList out;
        for (const auto& n : m_server.notifications)
            out << u"%1 %2: %3"_s.arg(n.replacesId).arg(n.summary, n.body);
        return out;
    }

    // A manager that asked the registered server and was authorized.
    std::unique_ptr<NotificationManager> authorizedManager() {
        if (!registerServer())
            return nullptr;
        auto manager = std::make_unique<NotificationManager>(appBus());
        manager->requestAuthorization();
        if (!QTest::qWaitFor([&] { return manager->authorized(); }, 5000))
            return nullptr;
        return manager;
    }

    // One call from the application's connection to the server, answered.
    // Messages from one connection arrive in order, so anything the manager
    // sent before has been handled by the server by then. The answers reach
    // this thread in order too: once this one's watcher has fired, the
    // manager has seen every earlier answer and acted on it.
    bool serverHasCaughtUp() {
        QDBusPendingCallWatcher watcher(appBus().asyncCall(QDBusMessage::createMethodCall(
            serviceName, servicePath, serviceName, u"GetCapabilities"_s)));
        QSignalSpy finished(&watcher, &QDBusPendingCallWatcher::finished);
        return finished.wait(5000) && !watcher.isError();
    }

    // A signal of the server's, as a desktop sends it on a click or a dismissal.
    static void emitFromServer(const QString& name, const QVariantList& arguments) {
        QDBusMessage signal = QDBusMessage::createSignal(servicePath, serviceName, name);
        signal.setArguments(arguments);
        serverBus().send(signal);
    }

private Q_SLOTS:
    // The count line is a text of the string table.
    void initTestCase() { QVERIFY(installTranslations(*QCoreApplication::instance())); }

    // A bus of the test's own, so that nothing on this machine answers in
    // place of the fake server.
    void init() {
        m_bus = std::make_unique<PrivateBus>();
        const QString address = m_bus->start();
        QVERIFY2(!address.isEmpty(), "could not start a private dbus-daemon");
        QVERIFY(QDBusConnection::connectToBus(address, u"talvenne-app"_s).isConnected());
        QVERIFY(QDBusConnection::connectToBus(address, u"talvenne-server"_s).isConnected());
        m_server.reset({u"body"_s, u"sound"_s});
    }

    void cleanup() {
        serverBus().unregisterObject(servicePath);
        QDBusConnection::disconnectFromBus(u"talvenne-server"_s);
        QDBusConnection::disconnectFromBus(u"talvenne-app"_s);
        m_bus.reset();
    }

    void authorizationNeedsAServerAnswer() {
        NotificationManager manager(appBus());
        QSignalSpy answered(&manager, &NotificationManager::authorizationAnswered);
        QSignalSpy changed(&manager, &NotificationManager::authorizedChanged);
        manager.requestAuthorization();
        QTRY_COMPARE(answered.count(), 1);
        QCOMPARE(answered.first().first().toBool(), false);
        QCOMPARE(changed.count(), 0);
        QVERIFY(!manager.authorized());

        // A server that turns up is asked; nothing is posted before it answered.
        QVERIFY(registerServer());
        manager.postNotification(u"Ada"_s, u"too early"_s, u"contact:ab"_s);
        QTRY_VERIFY(manager.authorized());
        QCOMPARE(changed.count(), 1);
        QCOMPARE(manager.property("authorized").toBool(), true);
        QCOMPARE(m_server.informationRequests, 1);
        QVERIFY(serverHasCaughtUp());
        QCOMPARE(m_server.notifications.size(), 0);
    }

    // Message texts are the mesh's: plain for every server, escaped for one
    // that renders markup, never markup of our own; treated as the window's
    // labels treat them (no direction overrides, right-to-left isolated),
    // mentions as the bubble shows them, and cut short on a character.
    void bodiesArePlainText_data() {
        QTest::addColumn<QStringList>("capabilities");
        QTest::addColumn<QString>("title");
        QTest::addColumn<QString>("body");
        QTest::addColumn<QString>("shownTitle");
        QTest::addColumn<QString>("shownBody");

        const QStringList plain{u"body"_s, u"sound"_s};
        const QStringList markup{u"body"_s, u"body-markup"_s, u"body-hyperlinks"_s};
        const QString ada = u"Ada"_s;
        QTest::newRow("plain server, angle brackets")
            << plain << ada << u"meet at <gate 3> at 5"_s << ada << u"meet at <gate 3> at 5"_s;
        QTest::newRow("markup server, angle brackets")
            << markup << ada << u"meet at <gate 3> at 5"_s << ada
            << u"meet at &lt;gate 3&gt; at 5"_s;
        QTest::newRow("markup server, tags, link and entities")
            << markup << u"<b>Mallory</b>"_s
            << u"<b>bold</b> <a href=\"http://x\">site</a> &amp; Grüße 👋"_s << u"<b>Mallory</b>"_s
            << u"&lt;b&gt;bold&lt;/b&gt; &lt;a href=&quot;http://x&quot;&gt;site&lt;/a&gt; "
               u"&amp;amp; Grüße 👋"_s;
        QTest::newRow("plain server, empty body")
            << plain << u"Relay"_s << QString() << u"Relay"_s << QString();
        QTest::newRow("direction overrides")
            << plain << u"\u202Egnp.exe Eve"_s << u"pay \u202E0001\u202C now"_s
            << u"\uFFFDgnp.exe Eve"_s << u"pay \uFFFD0001\uFFFD now"_s;
        QTest::newRow("right-to-left name, line breaks")
            << plain << u"שלום"_s << u"one\n\ntwo"_s << u"\u2068שלום\u2069"_s << u"one two"_s;
        QTest::newRow("mentions") << plain << ada << u"@[Bob Tanaka] and @[], @Eve"_s << ada
                                  << u"@Bob Tanaka and @, @Eve"_s;
        const QString word = QString(500, u'w');
        QTest::newRow("a long word")
            << plain << ada << word << ada << word.left(NotificationText::bodyLength) + u"\u2026"_s;
        QString flags;
        for (int i = 0; i < 130; ++i)
            flags += u"🇫🇮"_s;
        QTest::newRow("cut between flags, never inside one")
            << plain << ada << flags << ada
            << flags.left(4 * NotificationText::bodyLength) + u"\u2026"_s;
    }

    void bodiesArePlainText() {
        QFETCH(QStringList, capabilities);
        QFETCH(QString, title);
        QFETCH(QString, body);
        QFETCH(QString, shownTitle);
        QFETCH(QString, shownBody);

        m_server.capabilities = capabilities;
        const auto manager = authorizedManager();
        QVERIFY(manager);
        QCOMPARE(m_server.capabilityRequests, 1);

        const QString thread = u"contact:"_s + QString(64, u'a');
        manager->postNotification(title, body, thread);
        QTRY_COMPARE(m_server.notifications.size(), 1);

        const auto& shown = m_server.notifications.first();
        QCOMPARE(shown.appName, u"Talvenne"_s);
        QCOMPARE(shown.replacesId, 0u);
        QCOMPARE(shown.appIcon, u"io.github.talvenne.Talvenne"_s);
        // The summary is never markup, so it is not escaped.
        QCOMPARE(shown.summary, shownTitle);
        QCOMPARE(shown.body, shownBody);
        QCOMPARE(shown.hints.value(u"desktop-entry"_s).toString(),
                 u"io.github.talvenne.Talvenne"_s);
        QCOMPARE(shown.hints.value(u"x-talvenne-thread"_s).toString(), thread);
        QCOMPARE(shown.hints.value(u"category"_s).toString(), u"im.received"_s);
        QCOMPARE(shown.expireTimeout, -1);
    }

    // Further messages replace the conversation's one notification with the
    // count and the latest text; other conversations have their own.
    void aConversationKeepsOneNotification() {
        const auto manager = authorizedManager();
        QVERIFY(manager);

        manager->postNotification(u"Ada"_s, u"one"_s, u"contact:aa"_s);
        QTRY_COMPARE(m_server.notifications.size(), 1);
        manager->postNotification(u"#hike"_s, u"other"_s, u"channel:2"_s);
        QTRY_COMPARE(m_server.notifications.size(), 2);
        manager->postNotification(u"Ada"_s, u"two"_s, u"contact:aa"_s);
        QTRY_COMPARE(m_server.notifications.size(), 3);
        QVERIFY(serverHasCaughtUp());
        // Two more before the server has answered the first of them: the
        // second waits for the id and carries the count of both.
        manager->postNotification(u"Ada"_s, u"three"_s, u"contact:aa"_s);
        manager->postNotification(u"Ada B."_s, u"four <4>"_s, u"contact:aa"_s);
        QTRY_COMPARE(m_server.notifications.size(), 5);
        QVERIFY(serverHasCaughtUp());
        QCOMPARE(m_server.notifications.size(), 5);

        QCOMPARE(shown(), (QStringList{u"0 Ada: one"_s, u"0 #hike: other"_s,
                                       u"101 Ada: 2 new messages\ntwo"_s,
                                       u"101 Ada: 3 new messages\nthree"_s,
                                       u"101 Ada B.: 4 new messages\nfour <4>"_s}));

        // Dismissed on the desktop: the next message shows a new one, still
        // counting from the last read.
        emitFromServer(u"NotificationClosed"_s, {101u, 2u});
        QVERIFY(serverHasCaughtUp());
        manager->postNotification(u"Ada"_s, u"five"_s, u"contact:aa"_s);
        QTRY_COMPARE(m_server.notifications.size(), 6);
        QCOMPARE(shown().last(), u"0 Ada: 5 new messages\nfive"_s);
    }

    void readingWithdrawsTheNotification() {
        const auto manager = authorizedManager();
        QVERIFY(manager);

        manager->postNotification(u"Ada"_s, u"one"_s, u"contact:aa"_s);
        manager->postNotification(u"#hike"_s, u"other"_s, u"channel:2"_s);
        QTRY_COMPARE(m_server.notifications.size(), 2);
        QVERIFY(serverHasCaughtUp());
        manager->withdrawNotifications(u"contact:aa"_s);
        manager->withdrawNotifications(u"channel:7"_s); // never shown: nothing to close
        QVERIFY(serverHasCaughtUp());
        QCOMPARE(m_server.closed, (QList<uint>{101}));

        // After reading, the count starts again at one.
        manager->postNotification(u"Ada"_s, u"again"_s, u"contact:aa"_s);
        QTRY_COMPARE(m_server.notifications.size(), 3);
        QCOMPARE(shown().last(), u"0 Ada: again"_s);

        // Read before the server has even answered: closed once the id is known.
        manager->postNotification(u"#hike"_s, u"more"_s, u"channel:2"_s);
        manager->withdrawNotifications(u"channel:2"_s);
        QTRY_COMPARE(m_server.closed, (QList<uint>{101, 102}));
        QCOMPARE(m_server.notifications.size(), 4);
    }

    void theDefaultActionOpensTheConversation_data() {
        QTest::addColumn<QStringList>("capabilities");
        QTest::addColumn<QStringList>("actions");

        QTest::newRow("server with actions")
            << QStringList{u"actions"_s, u"body"_s} << QStringList{u"default"_s, u"Open"_s};
        QTest::newRow("server without actions") << QStringList{u"body"_s} << QStringList{};
    }

    void theDefaultActionOpensTheConversation() {
        QFETCH(QStringList, capabilities);
        QFETCH(QStringList, actions);

        m_server.capabilities = capabilities;
        const auto manager = authorizedManager();
        QVERIFY(manager);
        QSignalSpy activated(manager.get(), &NotificationManager::activated);
        manager->postNotification(u"Ada"_s, u"one"_s, u"contact:aa"_s);
        manager->postNotification(u"#hike"_s, u"other"_s, u"channel:2"_s);
        QTRY_COMPARE(m_server.notifications.size(), 2);
        QCOMPARE(m_server.notifications[0].actions, actions);

        // Clicks on other notifications, and other actions, open nothing.
        emitFromServer(u"ActionInvoked"_s, {77u, u"default"_s});
        emitFromServer(u"ActionInvoked"_s, {101u, u"reply"_s});
        // The token comes first, then the action.
        emitFromServer(u"ActivationToken"_s, {102u, u"token-42"_s});
        emitFromServer(u"ActionInvoked"_s, {102u, u"default"_s});
        // A server that sends no token: the window still comes forward as best it can.
        emitFromServer(u"ActionInvoked"_s, {101u, u"default"_s});
        QVERIFY(serverHasCaughtUp());
        QTRY_COMPARE(activated.count(), 2);
        QCOMPARE(activated[0], (QVariantList{u"channel:2"_s, u"token-42"_s}));
        QCOMPARE(activated[1], (QVariantList{u"contact:aa"_s, QString()}));
    }

    // A server that leaves revokes the authorization; another one taking the
    // name over is asked again: its capabilities decide the escaping, and the
    // old server's ids are forgotten.
    void aNewServerIsAskedAgain() {
        const auto manager = authorizedManager();
        QVERIFY(manager);
        manager->postNotification(u"Ada"_s, u"<i>one</i>"_s, u"contact:aa"_s);
        QTRY_COMPARE(m_server.notifications.size(), 1);
        QCOMPARE(m_server.notifications[0].body, u"<i>one</i>"_s);

        QSignalSpy answered(manager.get(), &NotificationManager::authorizationAnswered);
        QSignalSpy changed(manager.get(), &NotificationManager::authorizedChanged);
        serverBus().unregisterObject(servicePath);
        QVERIFY(serverBus().unregisterService(serviceName));
        QTRY_VERIFY(!manager->authorized());
        QCOMPARE(changed.count(), 1);

        m_server.reset({u"body"_s, u"body-markup"_s});
        QVERIFY(
            serverBus().registerObject(servicePath, &m_server, QDBusConnection::ExportAllSlots));
        QVERIFY(serverBus().registerService(serviceName));
        QTRY_VERIFY(manager->authorized());
        QCOMPARE(m_server.capabilityRequests, 1);
        QCOMPARE(answered.count(), 2);

        manager->postNotification(u"Ada"_s, u"<i>two</i>"_s, u"contact:aa"_s);
        QTRY_COMPARE(m_server.notifications.size(), 1);
        QCOMPARE(shown(), QStringList{u"0 Ada: 2 new messages\n&lt;i&gt;two&lt;/i&gt;"_s});
    }

    void badgeSignalsTheCount_data() {
        QTest::addColumn<qint64>("count");
        QTest::addColumn<bool>("visible");

        QTest::newRow("zero hides") << qint64(0) << false;
        QTest::newRow("negative hides") << qint64(-4) << false;
        QTest::newRow("one") << qint64(1) << true;
        QTest::newRow("120, no cap") << qint64(120) << true;
        QTest::newRow("beyond 32 bits") << qint64(5'000'000'000) << true;
    }

    void badgeSignalsTheCount() {
        QFETCH(qint64, count);
        QFETCH(bool, visible);

        LauncherEntryListener listener;
        QVERIFY(serverBus().connect(QString(), QString(), u"com.canonical.Unity.LauncherEntry"_s,
                                    u"Update"_s, &listener, SLOT(update(QDBusMessage))));
        // The badge needs no server and no authorization.
        NotificationManager manager(appBus());
        manager.updateBadge(count);
        QTRY_COMPARE(listener.updates.size(), 1);

        const QDBusMessage update = listener.updates.first();
        QVERIFY(update.path().startsWith(u"/com/canonical/unity/launcherentry/"_s));
        QCOMPARE(update.signature(), u"sa{sv}"_s);
        QCOMPARE(update.arguments().at(0).toString(),
                 u"application://io.github.talvenne.Talvenne.desktop"_s);
        const auto properties =
            qdbus_cast<QVariantMap>(update.arguments().at(1).value<QDBusArgument>());
        QCOMPARE(properties.keys(), (QStringList{u"count"_s, u"count-visible"_s}));
        // Docks read the count as a 64-bit integer and ignore anything else.
        QCOMPARE(properties.value(u"count"_s).metaType(), QMetaType::fromType<qlonglong>());
        QCOMPARE(properties.value(u"count"_s).toLongLong(), count);
        QCOMPARE(properties.value(u"count-visible"_s).metaType(), QMetaType::fromType<bool>());
        QCOMPARE(properties.value(u"count-visible"_s).toBool(), visible);

        // Every update goes out, and from the same object.
        manager.updateBadge(count);
        QTRY_COMPARE(listener.updates.size(), 2);
        QCOMPARE(listener.updates.at(1).path(), update.path());
    }

    void anAnswerAfterTheManagerIsGoneIsIgnored() {
        QVERIFY(registerServer());
        auto manager = std::make_unique<NotificationManager>(appBus());
        manager->requestAuthorization();
        manager.reset();
        QTRY_COMPARE(m_server.informationRequests, 1);
        // The answer travels back ahead of this one and resumes the request;
        // touching the destroyed manager then would trip the sanitizer build.
        QVERIFY(serverHasCaughtUp());
        QTest::qWait(0);
    }
};

QTEST_GUILESS_MAIN(TestNotificationManager)
#include "test_notification_manager.moc"
