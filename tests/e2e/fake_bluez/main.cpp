#include "fake_bluez.h"

#include <QCoreApplication>
#include <QDBusConnection>
#include <QTextStream>
#include <cstdio>
#include <cstring>

// A stand-in BlueZ (and logind) for the end-to-end tests, on the bus that
// DBUS_SYSTEM_BUS_ADDRESS names. Prints "ready" once both of its names are
// owned. QtBluetooth runs the owner of org.bluez with --version to learn
// which BlueZ it talks to: the answer is the version whose behaviour this
// program copies.
//
// Options: --no-service (start without owning org.bluez), --no-adapter.
int main(int argc, char* argv[]) {
    for (int i = 1; i < argc; ++i) {
        if (std::strcmp(argv[i], "--version") == 0) {
            std::puts("5.66");
            return 0;
        }
    }
    QCoreApplication app(argc, argv);
    const QStringList args = app.arguments();
    const QByteArray address = qgetenv("DBUS_SYSTEM_BUS_ADDRESS");
    if (address.isEmpty()) {
        std::fputs("DBUS_SYSTEM_BUS_ADDRESS is not set: refusing to touch the system bus\n",
                   stderr);
        return 2;
    }
    QDBusConnection bluezBus =
        QDBusConnection::connectToBus(QString::fromUtf8(address), QStringLiteral("bluez"));
    QDBusConnection controlBus =
        QDBusConnection::connectToBus(QString::fromUtf8(address), QStringLiteral("control"));
    if (!bluezBus.isConnected() || !controlBus.isConnected()) {
        std::fputs("cannot reach the bus\n", stderr);
        return 1;
    }
    FakeBluez bluez(bluezBus);
    if (args.contains(QStringLiteral("--no-adapter")))
        bluez.removeAdapter();
    FakeLogind logind(controlBus);
    FakeBluezControl control(&bluez, &logind);
    controlBus.registerObject(QStringLiteral("/control"), &control,
                              QDBusConnection::ExportAllSlots);
    if (!controlBus.registerService(QStringLiteral("org.talvenne.FakeBluez")) || !logind.start() ||
        (!args.contains(QStringLiteral("--no-service")) && !bluez.claimService())) {
        std::fputs("cannot own the bus names\n", stderr);
        return 1;
    }
    std::puts("ready");
    std::fflush(stdout);
    return app.exec();
}
