// A launch of Talvenne as far as the single instance goes: claims the
// session bus name and prints "primary", "handed-over" or "alone". A primary
// then waits for one activation, prints "activated" and ends.
#include "instance/single_instance.h"

#include <QCoreApplication>
#include <cstdio>

int main(int argc, char* argv[]) {
    QCoreApplication app(argc, argv);
    SingleInstance instance;
    const SingleInstance::Role role = instance.claim();
    std::printf("%s\n", role == SingleInstance::Role::primary      ? "primary"
                        : role == SingleInstance::Role::handedOver ? "handed-over"
                                                                   : "alone");
    std::fflush(stdout);
    if (role != SingleInstance::Role::primary)
        return 0;
    QObject::connect(&instance, &SingleInstance::activationRequested, &app, [] {
        std::printf("activated\n");
        std::fflush(stdout);
        QCoreApplication::quit();
    });
    return app.exec();
}
