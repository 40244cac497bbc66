#pragma once

#include <QFile>
#include <QProcess>
#include <QStandardPaths>
#include <QTemporaryDir>
#include <signal.h>
#include <sys/prctl.h>

// Child processes of a test end with it, also when it is killed (a ctest
// timeout), instead of lingering with their sockets.
inline void endWithParent(QProcess& process) {
    process.setChildProcessModifier([] { prctl(PR_SET_PDEATHSIG, SIGTERM); });
}

// A D-Bus daemon of the test's own, so that the test meets nothing running on
// this machine: no service files (nothing can be started on demand), and a
// policy that lets anyone own any name and see every message.
class PrivateBus {
public:
    ~PrivateBus() {
        m_daemon.terminate();
        if (!m_daemon.waitForFinished(3000))
            m_daemon.kill();
        m_daemon.waitForFinished(1000);
    }

    // Starts a bus of `type` ("session" or "system") and returns its
    // address; empty when there is no dbus-daemon or it did not start.
    QString start(const QString& type = QStringLiteral("session")) {
        const QString daemon = QStandardPaths::findExecutable(QStringLiteral("dbus-daemon"));
        const QString config = m_dir.filePath(QStringLiteral("bus.conf"));
        QFile file(config);
        if (daemon.isEmpty() || !m_dir.isValid() || !file.open(QIODevice::WriteOnly))
            return {};
        file.write(QStringLiteral("<!DOCTYPE busconfig PUBLIC \"-//freedesktop//DTD D-BUS Bus "
                                  "Configuration 1.0//EN\" \"http://www.freedesktop.org/standards/"
                                  "dbus/1.0/busconfig.dtd\">\n"
                                  "<busconfig><type>%1</type><listen>unix:dir=%2</listen>"
                                  "<auth>EXTERNAL</auth><policy context=\"default\">"
                                  "<allow user=\"*\"/><allow own=\"*\"/>"
                                  "<allow send_destination=\"*\" eavesdrop=\"true\"/>"
                                  "<allow eavesdrop=\"true\"/></policy></busconfig>\n")
                       .arg(type, m_dir.path())
                       .toUtf8());
        file.close();
        endWithParent(m_daemon);
        m_daemon.start(daemon,
                       {QStringLiteral("--config-file=") + config, QStringLiteral("--nofork"),
                        QStringLiteral("--nopidfile"), QStringLiteral("--print-address=1")});
        while (m_daemon.waitForStarted(5000) && !m_daemon.canReadLine()) {
            if (!m_daemon.waitForReadyRead(5000))
                return {};
        }
        return QString::fromUtf8(m_daemon.readLine().trimmed());
    }

private:
    QTemporaryDir m_dir;
    QProcess m_daemon;
};
