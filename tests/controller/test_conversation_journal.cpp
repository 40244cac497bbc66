// The journal's records: a change and back, a replay on top of a file that
// already holds it, and a journal cut or damaged anywhere.

#include "controller/conversation_journal.h"
#include "controller/conversation_store.h"
#include "controller/unsettled_messages.h"
#include "history_samples.h"

#include <QElapsedTimer>
#include <QTest>

using HistorySamples::history;
using HistorySamples::message;

namespace {

using Change = std::function<void(QList<Conversation>&)>;

// A journal holding the changes from `start` through each state, one
// record batch per state, for the file `base`.
QByteArray journalOf(const QByteArray& base, QList<Conversation> start,
                     const QList<QList<Conversation>>& states) {
    QByteArray journal = Journal::header(base);
    for (const QList<Conversation>& state : states) {
        for (const JournalRecord& record : Journal::diff(start, state))
            journal += Journal::frame(record);
        start = state;
    }
    return journal;
}

// Every other message of each conversation sent and awaiting its
// acknowledgement, every fourth still being sent, so that both sit at the
// ends of chunks; each acknowledgement code is the history's own.
QList<Conversation> unsettled(QList<Conversation> history) {
    std::uint32_t code = 0;
    for (Conversation& conversation : history) {
        for (qsizetype row = 0; row < conversation.messages.size(); ++row) {
            ChatMessage& m = conversation.messages[row];
            m.expectedAck = ++code;
            m.deliveryState = row % 2 == 0   ? ChatMessage::DeliveryState::sent
                              : row % 4 == 1 ? ChatMessage::DeliveryState::sending
                                             : ChatMessage::DeliveryState::delivered;
        }
    }
    return history;
}

QList<qsizetype> rowsWhere(const MessageList& messages, bool (*is)(const ChatMessage&)) {
    QList<qsizetype> rows;
    for (qsizetype row = 0; row < messages.size(); ++row) {
        if (is(messages.at(row)))
            rows.append(row);
    }
    return rows;
}

QHash<std::uint32_t, SentMessage> awaitedIn(const QList<Conversation>& history) {
    QHash<std::uint32_t, SentMessage> acks;
    for (const Conversation& conversation : history) {
        for (const ChatMessage& m : conversation.messages) {
            if (UnsettledMessages::isAwaitingAck(m))
                acks.insert(*m.expectedAck, {m.id, conversation.target, m.timestamp});
        }
    }
    return acks;
}

} // namespace

Q_DECLARE_METATYPE(Change)

class TestConversationJournal : public QObject {
    Q_OBJECT

private slots:
    void diffThenApplyGivesTheNewHistory_data() {
        QTest::addColumn<Change>("change");
        QTest::addColumn<int>("records");
        QTest::addColumn<int>("messages"); // in 5 conversations
        using State = ChatMessage::DeliveryState;
        QTest::newRow("nothing") << Change([](auto&) {}) << 0 << 40;
        QTest::newRow("one message appended") << Change([](auto& h) {
            h[1].messages.append(message(500));
            h[1].lastActivity = h[1].messages.last().timestamp;
        }) << 1 << 40;
        QTest::newRow("a state changed in place")
            << Change([](auto& h) { h[2].messages[3].deliveryState = State::failed; }) << 1 << 40;
        QTest::newRow("read") << Change([](auto& h) { h[0].unreadCount = 0; }) << 1 << 40;
        QTest::newRow("new empty conversation") << Change([](auto& h) {
            h.append(Conversation{ConversationID::channel(7), {}, distantPast(), 0});
        }) << 1 << 40;
        QTest::newRow("conversation removed") << Change([](auto& h) { h.removeAt(2); }) << 1 << 40;
        QTest::newRow("removed and made again")
            << Change([](auto& h) { h[3].messages = {message(900)}; }) << 1 << 40;
        QTest::newRow("several at once") << Change([](auto& h) {
            h[0].messages.append(message(501));
            h[4].messages[0].text = QStringLiteral("edited");
            h.removeAt(1);
        }) << 3 << 40;
        // Conversations of several chunks: those the change leaves shared
        // are not compared, the one it touched is.
        QTest::newRow("appended to a long conversation") << Change([](auto& h) {
            h[1].messages.append(message(20'000));
            h[1].lastActivity = h[1].messages.last().timestamp;
        }) << 1 << 12'000;
        QTest::newRow("a state changed in a long conversation's first chunk")
            << Change([](auto& h) { h[2].messages[3].deliveryState = State::failed; }) << 1
            << 12'000;
        QTest::newRow("a state changed past its first chunks")
            << Change([](auto& h) { h[2].messages[2'100].text = QStringLiteral("edited"); }) << 1
            << 12'000;
        QTest::newRow("a long conversation cut short")
            << Change([](auto& h) { h[3].messages.resize(1'500); }) << 1 << 12'000;
        QTest::newRow("a message gone from a long conversation's middle")
            << Change([](auto& h) { h[4].messages.removeAt(1'000); }) << 1 << 12'000;
    }

    void diffThenApplyGivesTheNewHistory() {
        QFETCH(Change, change);
        QFETCH(int, records);
        QFETCH(int, messages);
        const QList<Conversation> before = history(5, messages);
        QList<Conversation> after = before;
        change(after);

        const QList<JournalRecord> diff = Journal::diff(before, after);
        QCOMPARE(diff.size(), records);
        QList<Conversation> replayed = before;
        Journal::apply(replayed, diff);
        QVERIFY(replayed == after);
        // Each record sets state: applied again on top, nothing changes.
        Journal::apply(replayed, diff);
        QVERIFY(replayed == after);
        // And through the journal's own lines.
        const QByteArray base = encodeConversations(before);
        const Journal::Replay replay = Journal::read(journalOf(base, before, {after}), base);
        QCOMPARE(replay.end, Journal::Replay::End::complete);
        QVERIFY(replay.records == diff);
    }

    // Where the unsettled messages are, noted as the file is read, follows
    // each change: on the store's thread for the history it hands over, and
    // on the UI thread for what it made of that meanwhile, where the awaited
    // acknowledgements of what the change took away are let go of.
    void unsettledMessagesFollowTheChange_data() { diffThenApplyGivesTheNewHistory_data(); }
    void unsettledMessagesFollowTheChange() {
        QFETCH(Change, change);
        QFETCH(int, messages);
        UnsettledMessages noted;
        const auto read =
            decodeConversations(encodeConversations(unsettled(history(5, messages))), {}, &noted);
        QVERIFY(read);
        QList<Conversation> after = *read;
        change(after);

        const UnsettledMessages handedOver = noted.in(after);
        const UnsettledMessages asRead = noted.in(*read);
        QVERIFY(asRead.awaitedAcks() == awaitedIn(*read));
        QHash<std::uint32_t, SentMessage> acks = asRead.awaitedAcks();
        for (const Conversation& conversation : std::as_const(after)) {
            const QString key = conversation.target.conversationKey();
            const auto sending = rowsWhere(conversation.messages, &UnsettledMessages::isSending);
            QCOMPARE(handedOver.sendingRows(key), sending);
            QCOMPARE(handedOver.awaitingRows(key),
                     rowsWhere(conversation.messages, &UnsettledMessages::isAwaitingAck));
            QCOMPARE(asRead.follow(conversation.target, conversation.messages, acks), sending);
        }
        asRead.forgetGone(acks, [&](const QString& key) {
            return std::none_of(after.cbegin(), after.cend(), [&](const Conversation& c) {
                return c.target.conversationKey() == key;
            });
        });
        QVERIFY(handedOver.awaitedAcks() == awaitedIn(after));
        QVERIFY(acks == awaitedIn(after));
    }

    // The writer's comparison of the snapshot it wrote with the next, one
    // message further, costs as much in a conversation of 200,000 messages
    // as in one of 2,000.
    void diffCostsTheSameInAnyLengthOfConversation() {
        const auto millisPerDiff = [](int length) {
            const QList<Conversation> before = history(1, length);
            QList<double> costs;
            for (int n = 0; n < 9; ++n) {
                QList<Conversation> after = before;
                after[0].messages.append(message(length + n));
                QElapsedTimer timer;
                timer.start();
                const qsizetype records = Journal::diff(before, after).size();
                costs.append(double(timer.nsecsElapsed()) / 1e6);
                if (records != 1)
                    return -1.0;
            }
            std::sort(costs.begin(), costs.end());
            return costs.at(costs.size() / 2);
        };
        const double shortOne = millisPerDiff(2'000);
        const double longOne = millisPerDiff(200'000);
        QVERIFY(shortOne >= 0 && longOne >= 0);
        QVERIFY2(longOne <= 5 * shortOne + 0.5,
                 qPrintable(QStringLiteral("%1 ms against %2 ms").arg(longOne).arg(shortOne)));
    }

    // A journal replayed on top of the file that a fold made from it (the
    // fold finished, the journal was not yet emptied) gives that file.
    void replayOnTheFoldedFileChangesNothing() {
        QList<QList<Conversation>> states;
        QList<Conversation> state = history(4, 20);
        const QList<Conversation> start = state;
        for (int n = 20; n < 40; ++n) {
            state[n % state.size()].messages.append(message(n));
            if (n % 5 == 0)
                state[0].messages[1].deliveryState = ChatMessage::DeliveryState(n % 4);
            if (n == 30)
                state.removeAt(1);
            states.append(state);
        }
        const QByteArray base = encodeConversations(start);
        const Journal::Replay replay = Journal::read(journalOf(base, start, states), base);
        QList<Conversation> folded = state;
        Journal::apply(folded, replay.records);
        QVERIFY(folded == state);
    }

    // Cut after any byte, the journal gives the records that are whole and
    // never reads as damaged.
    void cutAnywhereIsATornTail() {
        const QList<Conversation> start = history(3, 9);
        QList<QList<Conversation>> states;
        QList<Conversation> state = start;
        for (int n = 9; n < 12; ++n) {
            state[n % 3].messages.append(message(n));
            states.append(state);
        }
        const QByteArray base = encodeConversations(start);
        const QByteArray journal = journalOf(base, start, states);
        int lines = 0;
        for (qsizetype length = 0; length <= journal.size(); ++length) {
            const Journal::Replay replay = Journal::read(journal.first(length), base);
            const bool whole = length == 0 || journal[length - 1] == '\n';
            lines += length > 0 && whole;
            QCOMPARE(replay.end, whole && length > 0 ? Journal::Replay::End::complete
                                                     : Journal::Replay::End::tornTail);
            QCOMPARE(replay.records.size(), std::max(0, lines - 1));
        }
        QCOMPARE(lines, 4);
    }

    void damageStopsTheReplay_data() {
        QTest::addColumn<QByteArray>("from");
        QTest::addColumn<QByteArray>("to");
        QTest::addColumn<int>("records");
        QTest::addColumn<Journal::Replay::End>("end");
        QTest::newRow("a letter of a text") << QByteArray("Message 10") << QByteArray("Massage 10")
                                            << 1 << Journal::Replay::End::damaged;
        QTest::newRow("a size one too long")
            << QByteArray("size") << QByteArray() << 0 << Journal::Replay::End::damaged;
        // A bad sector can turn a size into any number: no sum may overflow.
        QTest::newRow("a size of 2^63 - 1")
            << QByteArray("size") << QByteArray("9223372036854775807") << 0
            << Journal::Replay::End::damaged;
        QTest::newRow("a size past 64 bits")
            << QByteArray("size") << QByteArray("000018446744073709551616") << 0
            << Journal::Replay::End::damaged;
        QTest::newRow("another file") << QByteArray("journal 1 ") << QByteArray("journal 1 1") << 0
                                      << Journal::Replay::End::otherBase;
        QTest::newRow("not a journal") << QByteArray("talvenne-journal") << QByteArray("{") << 0
                                       << Journal::Replay::End::damaged;
    }

    void damageStopsTheReplay() {
        QFETCH(QByteArray, from);
        QFETCH(QByteArray, to);
        QFETCH(int, records);
        QFETCH(Journal::Replay::End, end);
        const QList<Conversation> start = history(3, 9);
        QList<QList<Conversation>> states;
        QList<Conversation> state = start;
        for (int n = 9; n < 12; ++n) {
            state[n % 3].messages.append(message(n));
            states.append(state);
        }
        const QByteArray base = encodeConversations(start);
        QByteArray journal = journalOf(base, start, states);
        if (from == "size") { // the first record's size: `to`, or one more
            const qsizetype line = journal.indexOf('\n') + 1;
            const qsizetype space = journal.indexOf(' ', line);
            from = journal.mid(line, space - line + 1);
            to = (to.isEmpty() ? QByteArray::number(from.trimmed().toInt() + 1) : to) + ' ';
        }
        const qsizetype at = journal.indexOf(from);
        QVERIFY(at >= 0);
        journal.replace(at, from.size(), to);
        const Journal::Replay replay = Journal::read(journal, base);
        QCOMPARE(replay.end, end);
        QCOMPARE(replay.records.size(), records);
    }

    // Inputs the fuzzer found, replayed on the empty history they continue.
    void fuzzFindingsStopCleanly_data() {
        QTest::addColumn<QByteArray>("journal");
        QTest::addColumn<Journal::Replay::End>("end");
        QTest::newRow("size 2^63 - 1, then another line")
            << QByteArray::fromBase64(
                   "dGFsdmVubmUtam91cm5hbCAxIDIgZDc1MTcxMzk4ODk4N2U5MwowMDAwMDAwMDAwMDAwMDA5MjIzMz"
                   "cyMDM2ODU0Nzc1ODA3IGExbm5lLWpvdXJuYWwgMSAyIGQ3NTE3MTM5ODg5ODdlOTMKMDAwMDAwMDAw"
                   "MDAwMDAxODQ0Njc0dmNlMA==")
            << Journal::Replay::End::damaged;
    }
    void fuzzFindingsStopCleanly() {
        QFETCH(QByteArray, journal);
        QFETCH(Journal::Replay::End, end);
        const Journal::Replay replay = Journal::read(journal, "[]");
        QCOMPARE(replay.end, end);
        QVERIFY(replay.records.isEmpty());
    }
};

QTEST_GUILESS_MAIN(TestConversationJournal)
#include "test_conversation_journal.moc"
