// A second process for the store's tests:
//   store_probe limit <file> <max file bytes> <conversations> <messages> [<at quit>]
//       loads, saves that history under a file-size limit (SIGXFSZ ignored)
//       and prints "saved" or "error: <why>"; the limit is raised to <at
//       quit> bytes before the store closes (as when room was made)
//   store_probe twice <file> <conversations> <messages>
//       loads, saves that history and prints the outcome as above; after a
//       line on its standard input saves one message more and prints again
//   store_probe hold <file>
//       loads, prints "writable" or "locked: <why>", then keeps the store
//       until its standard input closes
#include "controller/conversation_store.h"
#include "history_samples.h"

#include <QCoreApplication>
#include <algorithm>
#include <csignal>
#include <cstdio>
#include <iostream>
#include <string>
#include <sys/resource.h>

int main(int argc, char* argv[]) {
    QCoreApplication app(argc, argv);
    const QStringList args = app.arguments();
    if ((args.size() == 6 || args.size() == 7) && args[1] == QLatin1String("limit")) {
        std::signal(SIGXFSZ, SIG_IGN);
        const rlim_t bytes = args[3].toULongLong();
        const rlim_t atQuit = args.size() == 7 ? args[6].toULongLong() : bytes;
        const rlimit limit{bytes, std::max(bytes, atQuit)};
        if (setrlimit(RLIMIT_FSIZE, &limit) != 0)
            return 3;
        ConversationStore store(args[2]);
        store.load();
        store.save(HistorySamples::history(args[4].toInt(), args[5].toInt()));
        store.flush();
        const QString error = store.error();
        std::printf("%s\n",
                    error.isEmpty() ? "saved" : qPrintable(QStringLiteral("error: ") + error));
        std::fflush(stdout);
        const rlimit raised{atQuit, atQuit};
        return setrlimit(RLIMIT_FSIZE, &raised) == 0 ? 0 : 3;
    }
    if (args.size() == 5 && args[1] == QLatin1String("twice")) {
        ConversationStore store(args[2]);
        store.load();
        for (int extra = 0; extra < 2; ++extra) {
            if (extra) {
                std::string line;
                std::getline(std::cin, line);
            }
            store.save(HistorySamples::history(args[3].toInt(), args[4].toInt() + extra));
            store.flush();
            const QString error = store.error();
            std::printf("%s\n",
                        error.isEmpty() ? "saved" : qPrintable(QStringLiteral("error: ") + error));
            std::fflush(stdout);
        }
        return 0;
    }
    if (args.size() == 3 && args[1] == QLatin1String("hold")) {
        ConversationStore store(args[2]);
        store.load();
        std::printf("%s\n", store.isWritable()
                                ? "writable"
                                : qPrintable(QStringLiteral("locked: ") + store.error()));
        std::fflush(stdout);
        std::string line;
        while (std::getline(std::cin, line)) {
        }
        return 0;
    }
    std::fprintf(stderr, "usage: store_probe limit <file> <bytes> <conversations> <messages>\n"
                         "       store_probe hold <file>\n");
    return 2;
}
