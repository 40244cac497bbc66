// Saves a growing history again and again until it is killed:
//   history_writer <file> <first sequence number>
// After each save is on disk it prints "saved <n>" and flushes, so whoever
// kills it knows the newest save that completed; a failed save prints
// "failed <n>". Save n holds a conversation
// whose last message reads "save <n>", next to a steady bulk of others.
#include "controller/conversation_store.h"

#include <QCoreApplication>
#include <QUuid>
#include <cstdio>

namespace {

ChatMessage message(const QString& text, qint64 seconds) {
    ChatMessage m;
    m.id = QUuid::createUuid();
    m.direction = ChatMessage::Direction::incoming;
    m.text = text;
    m.timestamp = QDateTime::fromSecsSinceEpoch(seconds, Qt::UTC);
    return m;
}

} // namespace

int main(int argc, char* argv[]) {
    QCoreApplication app(argc, argv);
    if (argc < 3) {
        std::fprintf(stderr, "usage: history_writer <file> <first sequence number>\n");
        return 2;
    }
    ConversationStore store(QString::fromLocal8Bit(argv[1]));
    QList<Conversation> history;
    for (int c = 0; c < 40; ++c) {
        Conversation conversation{ConversationID::channel(c), {}, distantPast(), 0};
        for (int m = 0; m < 50; ++m)
            conversation.messages.append(message(
                QStringLiteral("steady message %1 of %2").arg(m).arg(c), 1'700'000'000 + m));
        conversation.lastActivity = conversation.messages.last().timestamp;
        history.append(conversation);
    }
    history.append(Conversation{ConversationID::contact(QStringLiteral("marker")), {}, {}, 0});
    for (qint64 n = QByteArray(argv[2]).toLongLong();; ++n) {
        history.last().messages.append(
            message(QStringLiteral("save %1").arg(n), 1'700'000'000 + n));
        history.last().lastActivity = history.last().messages.last().timestamp;
        store.save(history);
        store.flush();
        // A save that failed (the lock of a writer killed while taking it,
        // say) is not reported as saved.
        if (!store.error().isEmpty()) {
            std::printf("failed %lld\n", n);
            continue;
        }
        std::printf("saved %lld\n", n);
        std::fflush(stdout);
    }
}
