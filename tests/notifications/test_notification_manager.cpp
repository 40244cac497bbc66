#include "notifications/notification_manager.h"

#include <QDBusConnection>
#include <QDBusMessage>
#include <QDBusMetaType>
#include <QDBusPendingCall>
#include <QProcess>
#include <QSignalSpy>
#include <QStandardPaths>
#include <QTemporaryDir>
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
    int informationRequests = 0;
    int capabilityRequests = 0;

public Q_SLOTS:
    uint Notify(const QString& appName, uint replacesId, const QString& appIcon,
                const QString& summary, const QString& body, const QStringList& actions,
                const QVariantMap& hints, int expireTimeout) {
        notifications.append(
            {appName, replacesId, appIcon, summary, body, actions, hints, expireTimeout});
        return uint(notifications.size());
    }

    QString GetServerInformation(QString& vendor, QString& version, QString& specVersion) {
        ++informationRequests;
        vendor = u"Talvenne tests"_s;
        version = u"1"_s;
        specVersion = u"1.2"_s;
        return u"fake-server"_s;
    }

    QStringList GetCapabilities() {
        ++capabilityRequests;
        return {u"body"_s, u"sound"_s};
    }
};

class LauncherEntryListener : public QObject {
    Q_OBJECT

public:
    QList<QDBusMessage> updates;

public Q_SLOTS:
    void update(const QDBusMessage& message) { updates.append(message); }
};

// A bus daemon of the test's own, with no service files, so nothing on this
// machine can be started on demand and answer in place of the fake server.
class PrivateBus {
public:
    ~PrivateBus() {
        if (m_daemon.state() != QProcess::NotRunning) {
            m_daemon.kill();
            m_daemon.waitForFinished(5000);
        }
    }

    QString start(const QString& executable) {
        const QString config = m_dir.filePath(u"bus.conf"_s);
        QFile file(config);
        if (!file.open(QIODevice::WriteOnly)) {
            return {};
        }
        file.write(
            QStringLiteral(
                "<!DOCTYPE busconfig PUBLIC \"-//freedesktop//DTD D-BUS Bus Configuration "
                "1.0//EN\" \"http://www.freedesktop.org/standards/dbus/1.0/busconfig.dtd\">\n"
                "<busconfig><type>session</type><listen>unix:dir=%1</listen>"
                "<policy context=\"default\"><allow send_destination=\"*\" eavesdrop=\"true\"/>"
                "<allow eavesdrop=\"true\"/><allow own=\"*\"/></policy></busconfig>\n")
                .arg(m_dir.path())
                .toUtf8());
        file.close();
        m_daemon.start(executable,
                       {u"--config-file=%1"_s.arg(config), u"--print-address"_s, u"--nofork"_s});
        QByteArray output;
        while (!output.contains('\n') && m_daemon.waitForReadyRead(5000)) {
            output += m_daemon.readAllStandardOutput();
        }
        return QString::fromUtf8(output).trimmed();
    }

private:
    QTemporaryDir m_dir;
    QProcess m_daemon;
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

    // One call from the application's connection to the server, answered.
    // Messages from one connection arrive in order, so anything the manager
    // sent before has been handled by the server by then.
    bool serverHasCaughtUp() {
        const QDBusPendingCall pending = appBus().asyncCall(QDBusMessage::createMethodCall(
            serviceName, servicePath, serviceName, u"GetCapabilities"_s));
        return QTest::qWaitFor([&] { return pending.isFinished(); }, 5000) && !pending.isError();
    }

private Q_SLOTS:
    void init() {
        const QString daemon = QStandardPaths::findExecutable(u"dbus-daemon"_s);
        if (daemon.isEmpty()) {
            QSKIP("dbus-daemon is not installed");
        }
        m_bus = std::make_unique<PrivateBus>();
        const QString address = m_bus->start(daemon);
        QVERIFY2(!address.isEmpty(), "dbus-daemon printed no address");
        QVERIFY(QDBusConnection::connectToBus(address, u"talvenne-app"_s).isConnected());
        QVERIFY(QDBusConnection::connectToBus(address, u"talvenne-server"_s).isConnected());
        m_server.notifications.clear();
        m_server.informationRequests = 0;
        m_server.capabilityRequests = 0;
    }

    void cleanup() {
        serverBus().unregisterObject(servicePath);
        QDBusConnection::disconnectFromBus(u"talvenne-server"_s);
        QDBusConnection::disconnectFromBus(u"talvenne-app"_s);
        m_bus.reset();
    }

    void withoutServerNothingIsAuthorizedOrPosted() {
        NotificationManager manager(appBus());
        QSignalSpy answered(&manager, &NotificationManager::authorizationAnswered);
        QSignalSpy changed(&manager, &NotificationManager::authorizedChanged);

        manager.requestAuthorization();
        QTRY_COMPARE(answered.count(), 1);
        QCOMPARE(answered.first().first().toBool(), false);
        QCOMPARE(changed.count(), 0);
        QVERIFY(!manager.authorized());

        // A server that turns up later is not told anything until it is asked.
        QVERIFY(registerServer());
        manager.postNotification(u"Ada"_s, u"hello"_s, u"contact:ab"_s);
        QVERIFY(serverHasCaughtUp());
        QCOMPARE(m_server.notifications.size(), 0);
    }

    void aServerAnswerAuthorizes() {
        QVERIFY(registerServer());
        NotificationManager manager(appBus());
        QSignalSpy changed(&manager, &NotificationManager::authorizedChanged);

        manager.requestAuthorization();
        // Nothing is posted before the answer has come back.
        QVERIFY(!manager.authorized());
        manager.postNotification(u"Ada"_s, u"too early"_s, u"contact:ab"_s);

        QTRY_VERIFY(manager.authorized());
        QCOMPARE(changed.count(), 1);
        QCOMPARE(manager.property("authorized").toBool(), true);
        QCOMPARE(m_server.informationRequests, 1);
        QVERIFY(serverHasCaughtUp());
        QCOMPARE(m_server.notifications.size(), 0);
    }

    void aServerThatLeftRevokesAuthorization() {
        QVERIFY(registerServer());
        NotificationManager manager(appBus());
        manager.requestAuthorization();
        QTRY_VERIFY(manager.authorized());

        QVERIFY(serverBus().unregisterService(serviceName));
        QSignalSpy changed(&manager, &NotificationManager::authorizedChanged);
        manager.requestAuthorization();
        QTRY_COMPARE(changed.count(), 1);
        QVERIFY(!manager.authorized());
    }

    void identicalNotificationsAreBothDelivered_data() {
        QTest::addColumn<QString>("title");
        QTest::addColumn<QString>("body");
        QTest::addColumn<QString>("thread");

        QTest::newRow("contact") << u"Ada"_s << u"see you at the ridge"_s
                                 << u"contact:"_s + QString(64, u'a');
        QTest::newRow("channel, non-ASCII")
            << u"#wandern"_s << u"Grüße 👋 <b>bold</b> & more"_s << u"channel:3"_s;
        QTest::newRow("empty body") << u"Relay"_s << QString() << u"channel:0"_s;
    }

    void identicalNotificationsAreBothDelivered() {
        QFETCH(QString, title);
        QFETCH(QString, body);
        QFETCH(QString, thread);

        QVERIFY(registerServer());
        NotificationManager manager(appBus());
        manager.requestAuthorization();
        QTRY_VERIFY(manager.authorized());

        manager.postNotification(title, body, thread);
        manager.postNotification(title, body, thread);
        QTRY_COMPARE(m_server.notifications.size(), 2);

        const QVariantMap expectedHints{
            {u"sound-name"_s, u"message-new-instant"_s},
            {u"desktop-entry"_s, u"talvenne"_s},
            {u"category"_s, u"im.received"_s},
            {u"x-talvenne-thread"_s, thread},
        };
        for (const auto& notification : std::as_const(m_server.notifications)) {
            QCOMPARE(notification.appName, u"Talvenne"_s);
            QCOMPARE(notification.replacesId, 0u);
            QCOMPARE(notification.appIcon, u"talvenne"_s);
            QCOMPARE(notification.summary, title);
            QCOMPARE(notification.body, body);
            QVERIFY(notification.actions.isEmpty());
            QCOMPARE(notification.hints, expectedHints);
            QCOMPARE(notification.expireTimeout, -1);
        }
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
        QCOMPARE(update.arguments().at(0).toString(), u"application://talvenne.desktop"_s);
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
