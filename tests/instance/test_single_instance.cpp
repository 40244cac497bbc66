// Two launches of Talvenne on one session bus: the second hands over to the
// first, which is asked to show its window; without a bus both run.
#include "test_support.h"

#include <QProcess>
#include <QStandardPaths>
#include <QTemporaryDir>
#include <QTest>

namespace {

// A session bus of our own, so that the test meets no running Talvenne.
class PrivateBus {
public:
    ~PrivateBus() {
        m_daemon.kill();
        m_daemon.waitForFinished(5000);
    }
    QString start() {
        const QString daemon = QStandardPaths::findExecutable(QStringLiteral("dbus-daemon"));
        if (daemon.isEmpty())
            return {};
        m_daemon.start(daemon, {QStringLiteral("--session"), QStringLiteral("--print-address"),
                                QStringLiteral("--nofork")});
        QByteArray output;
        while (!output.contains('\n') && m_daemon.waitForReadyRead(5000))
            output += m_daemon.readAllStandardOutput();
        return QString::fromUtf8(output).trimmed();
    }

private:
    QProcess m_daemon;
};

void startProbe(QProcess& probe, const QString& busAddress) {
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    environment.insert(QStringLiteral("DBUS_SESSION_BUS_ADDRESS"), busAddress);
    probe.setProcessEnvironment(environment);
    probe.start(QStringLiteral(INSTANCE_PROBE));
}

QByteArray nextLine(QProcess& probe) {
    if (!probe.canReadLine())
        probe.waitForReadyRead(10'000);
    return probe.readLine().trimmed();
}

} // namespace

class TestSingleInstance : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void initTestCase() { TestSupport::isolateFromUserFiles(); }

    void secondLaunchHandsOverToTheFirst() {
        PrivateBus bus;
        const QString address = bus.start();
        if (address.isEmpty())
            QSKIP("dbus-daemon is not installed");

        QProcess first;
        startProbe(first, address);
        QCOMPARE(nextLine(first), QByteArray("primary"));

        QProcess second;
        startProbe(second, address);
        QVERIFY(second.waitForFinished(10'000));
        QCOMPARE(second.readAllStandardOutput().trimmed(), QByteArray("handed-over"));
        QCOMPARE(second.exitCode(), 0);

        // The first was asked to show itself.
        QCOMPARE(nextLine(first), QByteArray("activated"));
        QVERIFY(first.waitForFinished(10'000));

        // With the first gone, the next launch is the first again.
        QProcess third;
        startProbe(third, address);
        QCOMPARE(nextLine(third), QByteArray("primary"));
        third.kill();
        third.waitForFinished();
    }

    void withoutASessionBusEachRunsAlone() {
        QTemporaryDir dir;
        const QString nowhere = QStringLiteral("unix:path=") + dir.filePath(QStringLiteral("none"));
        QProcess first;
        startProbe(first, nowhere);
        QVERIFY(first.waitForFinished(10'000));
        QCOMPARE(first.readAllStandardOutput().trimmed(), QByteArray("alone"));
    }
};

QTEST_GUILESS_MAIN(TestSingleInstance)
#include "test_single_instance.moc"
