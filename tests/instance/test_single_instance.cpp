// Two launches of Talvenne on one session bus: the second hands over to the
// first, which is asked to show its window; without a bus both run.
#include "../e2e/private_bus.h"
#include "test_support.h"

#include <QProcess>
#include <QTemporaryDir>
#include <QTest>

namespace {

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
        // A bus of our own, so that the test meets no running Talvenne.
        PrivateBus bus;
        const QString address = bus.start();
        QVERIFY2(!address.isEmpty(), "could not start a private dbus-daemon");

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
