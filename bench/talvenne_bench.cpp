// Prints the performance table: frame decoding, the history file against
// python's json on the same file, the UI thread's share of a save, a drain of
// 256 queued messages with a big history loaded, opening a long conversation
// in the chat's list model, resident memory with the big history, and the
// map: its first frame, panning and zooming with 1,000 and 10,000 nodes, and
// an idle map (map_bench.cpp).
// Every figure but the map's is the median of several runs.
//   talvenne-bench            the table
//   talvenne-bench --rss FILE (internal) loads FILE and prints VmRSS in MB
//   talvenne-bench --map      (internal) the map's rows, on one renderer
//   talvenne-bench --million  only the rows of the million-message history
//   talvenne-bench --million-startup  of those, only start-up and opening
//   talvenne-bench --hundred-thousand  the same rows with 100,000 messages
//   talvenne-bench --million-only startup,cost,index,load,fold,reload,scroll
//                             of those, only the groups named
//   talvenne-bench --fold FILE, --reload FILE, --scroll FILE (internal) the
//                             fold's memory, a second instance letting go,
//                             scrolling the biggest conversation
//   talvenne-bench --load FILE (internal) load time and peak memory of FILE
//   talvenne-bench --hand-over FILE (internal) the UI thread's longest step
//                             while it takes in the history read for it
//   talvenne-bench --write-million FILE N (internal) writes the million-message
//                             history in N conversations to FILE
#include "chat_scroll_bench.h"
#include "controller/conversation_journal.h"
#include "controller/conversation_store.h"
#include "controller/mesh_controller.h"
#include "conversation_list_model.h"
#include "history_generator.h"
#include "history_search_model.h"
#include "map_bench.h"
#include "message_list_model.h"
#include "protocol/mesh_protocol.h"
#include "sim/radio_frames.h"
#include "sim/simulated_radio.h"
#include "storage/owned_lock.h"
#include "time/clock.h"
#include "translations.h"

#include <QCoreApplication>
#include <QDir>
#include <QElapsedTimer>
#include <QEventLoop>
#include <QFile>
#include <QFileInfo>
#include <QLocale>
#include <QProcess>
#include <QSaveFile>
#include <QSettings>
#include <QTemporaryDir>
#include <QTimer>
#include <algorithm>
#include <chrono>
#include <cstdio>
#include <functional>

using namespace std::chrono_literals;

namespace {

constexpr int runs = 5;
constexpr int historyMessages = 100'000;
constexpr int historyConversations = 200;

double median(QList<double> values) {
    std::sort(values.begin(), values.end());
    const qsizetype n = values.size();
    return n % 2 ? values.at(n / 2) : (values.at(n / 2 - 1) + values.at(n / 2)) / 2;
}

// The median of one field over several runs' records.
template <typename Record>
double medianField(const QList<Record>& records, double Record::*field) {
    QList<double> values;
    for (const Record& record : records)
        values << record.*field;
    return median(values);
}

double medianOf(const std::function<double()>& run, int count = runs) {
    QList<double> values;
    for (int i = 0; i < count; ++i)
        values << run();
    return median(values);
}

double millisSince(const QElapsedTimer& timer) {
    return double(timer.nsecsElapsed()) / 1e6;
}

struct Row {
    QString figure;
    QString value;
    QString target;
    std::optional<bool> holds;
};

void printTable(const QList<Row>& rows) {
    std::printf("| figure | median of %d runs | target | holds |\n|---|---|---|---|\n", runs);
    for (const Row& row : rows)
        std::printf("| %s | %s | %s | %s |\n", qPrintable(row.figure), qPrintable(row.value),
                    qPrintable(row.target), row.holds ? (*row.holds ? "yes" : "**no**") : "");
    std::fflush(stdout);
}

// Runs the event loop until `done` or `seconds` pass; false on timeout.
bool spinUntil(const std::function<bool()>& done, int seconds = 60) {
    QElapsedTimer timer;
    timer.start();
    while (!done()) {
        if (timer.elapsed() > seconds * 1000)
            return false;
        QCoreApplication::processEvents(QEventLoop::AllEvents, 5);
    }
    return true;
}

// The history, read on the store's thread, is in. Waits as the app's event
// loop does, without spinning: a spinning loop would take one of the
// machine's two cores from the reader whenever others are busy.
bool historyIn(const MeshController& controller) {
    if (controller.historyLoaded())
        return true;
    QEventLoop loop;
    QObject::connect(&controller, &MeshController::historyLoadedChanged, &loop, &QEventLoop::quit);
    QTimer::singleShot(std::chrono::minutes(10), &loop, &QEventLoop::quit);
    loop.exec();
    return controller.historyLoaded();
}

double residentMegabytes() {
    QFile status(QStringLiteral("/proc/self/status"));
    if (!status.open(QIODevice::ReadOnly))
        return -1;
    for (const QByteArray& line : status.readAll().split('\n')) {
        if (line.startsWith("VmRSS:"))
            return line.mid(6).trimmed().split(' ').first().toDouble() / 1024;
    }
    return -1;
}

// --- Frame decoding ------------------------------------------------------

QList<QByteArray> frameMix() {
    using namespace RadioFrames;
    const QString key =
        QStringLiteral("3f9a1c77be02a4c5d6e7f80112233445566778899aabbccddeeff00112233445");
    const QDateTime at = QDateTime::fromSecsSinceEpoch(1'700'000'000, Qt::UTC);
    Contact contact;
    contact.publicKey = key;
    contact.type = MeshProtocol::AdvertType::chat;
    contact.outPathLength = 2;
    contact.name = QStringLiteral("Aino Virtanen");
    contact.lastAdvert = at;
    contact.lastModified = at;
    // Roughly what a busy session brings: acknowledgements, messages,
    // adverts, and the occasional contact or status answer.
    return {
        okFrame(),
        sendConfirmedFrame(0xdeadbeef, 900),
        messageSentFrame(0, 0x01020304, 4200),
        contactMessageFrame(key, 1, 0, at, QStringLiteral("Hei! Are you on the hill today?"), 7.25),
        channelMessageFrame(0, 2, 0, at, QStringLiteral("Bob: signal looks good"), 4.5),
        messagesWaitingFrame(),
        advertFrame(key),
        pathUpdatedFrame(key),
        contactFrame(contact),
        batteryFrame(BatteryInfo{4012, 1024, 4096}),
        noMoreMessagesFrame(),
        errorFrame(MeshProtocol::DeviceError::notFound),
    };
}

Row decodingRow() {
    const QList<QByteArray> mix = frameMix();
    constexpr int perRun = 2'000'000;
    std::size_t sink = 0;
    const double rate = medianOf([&] {
        QElapsedTimer timer;
        timer.start();
        for (int i = 0; i < perRun; ++i)
            sink += MeshProtocol::decode(mix.at(i % mix.size())).index();
        return perRun / (double(timer.nsecsElapsed()) / 1e9);
    });
    if (sink == 0)
        std::printf("(no frames decoded)\n");
    return {QStringLiteral("frame decoding, mix of %1 kinds").arg(mix.size()),
            QStringLiteral("%1 M frames/s").arg(rate / 1e6, 0, 'f', 1), QStringLiteral("≥ 20 M/s"),
            rate >= 20e6};
}

// --- History file ----------------------------------------------------------

struct PythonTimes {
    double loadMillis = -1;
    double dumpMillis = -1;
};

PythonTimes pythonJson(const QString& path, const QString& scratch) {
    const QString script = QStringLiteral(R"(
import json, sys, time, statistics
path, out, runs = sys.argv[1], sys.argv[2], int(sys.argv[3])
loads, dumps = [], []
for _ in range(runs):
    t = time.perf_counter()
    with open(path, 'rb') as f:
        data = json.load(f)
    loads.append(time.perf_counter() - t)
    t = time.perf_counter()
    with open(out, 'w', encoding='utf-8') as f:
        json.dump(data, f, ensure_ascii=False, separators=(',', ':'))
    dumps.append(time.perf_counter() - t)
print(statistics.median(loads) * 1000, statistics.median(dumps) * 1000)
)");
    QProcess python;
    python.start(QStringLiteral("python3"),
                 {QStringLiteral("-c"), script, path, scratch, QString::number(runs)});
    if (!python.waitForFinished(600'000) || python.exitCode() != 0)
        return {};
    const QList<QByteArray> parts = python.readAllStandardOutput().trimmed().split(' ');
    if (parts.size() != 2)
        return {};
    return {parts.at(0).toDouble(), parts.at(1).toDouble()};
}

QList<Row> historyRows(const QString& path, const QList<Conversation>& history) {
    QList<Row> rows;
    const double saveMillis = medianOf([&] {
        QElapsedTimer timer;
        timer.start();
        QSaveFile file(path);
        if (!file.open(QIODevice::WriteOnly))
            return -1.0;
        file.write(encodeConversations(history));
        file.commit();
        return millisSince(timer);
    });
    qint64 loadedMessages = 0;
    const double loadMillis = medianOf([&] {
        QElapsedTimer timer;
        timer.start();
        QFile file(path);
        if (!file.open(QIODevice::ReadOnly))
            return -1.0;
        const auto loaded = decodeConversations(file.readAll());
        const double millis = millisSince(timer);
        loadedMessages = 0;
        for (const Conversation& conversation : loaded.value_or(QList<Conversation>()))
            loadedMessages += conversation.messages.size();
        return millis;
    });
    if (loadedMessages != historyMessages)
        std::printf("warning: loaded %lld messages\n", loadedMessages);
    const double megabytes = double(QFileInfo(path).size()) / (1024 * 1024);
    const PythonTimes python = pythonJson(path, path + QStringLiteral(".python"));
    const auto ratio = [](double ours, double theirs) {
        return theirs > 0 ? QStringLiteral(" (× %1 of python)").arg(ours / theirs, 0, 'f', 2)
                          : QStringLiteral(" (python not measured)");
    };
    rows << Row{
        QStringLiteral("history load, 100,000 messages"),
        QStringLiteral("%1 ms").arg(loadMillis, 0, 'f', 0) + ratio(loadMillis, python.loadMillis),
        QStringLiteral("≤ python json.load"),
        python.loadMillis > 0 ? std::optional(loadMillis <= python.loadMillis) : std::nullopt};
    rows << Row{
        QStringLiteral("history save (encode + atomic write)"),
        QStringLiteral("%1 ms").arg(saveMillis, 0, 'f', 0) + ratio(saveMillis, python.dumpMillis),
        QStringLiteral("≤ python json.dump"),
        python.dumpMillis > 0 ? std::optional(saveMillis <= python.dumpMillis) : std::nullopt};
    rows << Row{QStringLiteral("python json.load / json.dump, same file"),
                QStringLiteral("%1 ms / %2 ms")
                    .arg(python.loadMillis, 0, 'f', 0)
                    .arg(python.dumpMillis, 0, 'f', 0),
                {},
                std::nullopt};
    rows << Row{QStringLiteral("history file size"),
                QStringLiteral("%1 MB").arg(megabytes, 0, 'f', 1),
                {},
                std::nullopt};

    // What the UI thread pays per save: handing the snapshot to the writer.
    ConversationStore store(path + QStringLiteral(".store"));
    QList<double> handOver;
    for (int i = 0; i < 21; ++i) {
        QList<Conversation> snapshot = history;
        QElapsedTimer timer;
        timer.start();
        store.save(std::move(snapshot));
        handOver << millisSince(timer);
    }
    store.flush();
    const double uiMillis = median(handOver);
    rows << Row{QStringLiteral("UI thread per save, 100,000 messages"),
                QStringLiteral("%1 µs (worst %2 µs)")
                    .arg(uiMillis * 1000, 0, 'f', 1)
                    .arg(*std::max_element(handOver.begin(), handOver.end()) * 1000, 0, 'f', 1),
                QStringLiteral("≤ 2 ms"), uiMillis <= 2};
    return rows;
}

// --- Bounded writes ---------------------------------------------------------

// Bytes on disk per stored message while messages keep arriving one by one
// into the big history, each saved (and synced) before the next: journal
// records, the folds past the journal's bound, and the fold at quit.
Row bytesPerMessageRow(const QString& historyPath, const QList<Conversation>& history,
                       const QString& directory) {
    constexpr int arriving = 12'000;
    const QString path = directory + QStringLiteral("/arriving.json");
    QFile::remove(path);
    QFile::remove(path + QStringLiteral(".journal"));
    QFile::copy(historyPath, path);
    qint64 bytes = 0;
    {
        ConversationStore store(path);
        store.load();
        QList<Conversation> state = history;
        const QDateTime at = QDateTime::currentDateTimeUtc();
        for (int n = 0; n < arriving; ++n) {
            Conversation& conversation = state[(n * 7919) % state.size()];
            ChatMessage message;
            message.id = QUuid::createUuid();
            message.text = QStringLiteral("arriving message %1, a little chat text").arg(n);
            message.timestamp = at.addSecs(n);
            message.snr = 6.25;
            message.pathLength = 2;
            conversation.messages.append(message);
            conversation.lastActivity = message.timestamp;
            ++conversation.unreadCount;
            store.save(state);
            store.flush();
        }
        bytes = store.bytesWritten();
    }
    bytes += QFileInfo(path).size(); // the fold at quit
    const double perMessage = double(bytes) / arriving;
    return {QStringLiteral("bytes written per stored message, 100,000 loaded"),
            QStringLiteral("%1 KiB (%2 messages, %3 MB in all)")
                .arg(perMessage / 1024, 0, 'f', 1)
                .arg(arriving)
                .arg(double(bytes) / 1e6, 0, 'f', 0),
            QStringLiteral("≤ 64 KiB (was the whole file)"), perMessage <= 64 * 1024};
}

// Loading the history from a file and a journal just under the bound at
// which it is folded (a sixteenth of the file: the last messages of every
// conversation, one record each), against the same history in the file alone.
Row journalLoadRow(const QString& historyPath, const QList<Conversation>& history,
                   const QString& directory) {
    const QString path = directory + QStringLiteral("/journalled.json");
    QByteArray base;
    QByteArray journal;
    int records = 0;
    for (qsizetype recent = 50; recent > 0;) {
        QList<Conversation> older = history;
        for (Conversation& conversation : older)
            conversation.messages.resize(
                std::max<qsizetype>(0, conversation.messages.size() - recent));
        base = encodeConversations(older);
        journal = Journal::header(base);
        records = 0;
        for (qsizetype c = 0; c < history.size(); ++c) {
            for (qsizetype m = older[c].messages.size(); m < history[c].messages.size(); ++m) {
                Conversation change{history[c].target,
                                    {history[c].messages[m]},
                                    history[c].lastActivity,
                                    history[c].unreadCount};
                journal += Journal::frame({JournalRecord::Kind::merge, change});
                ++records;
            }
        }
        const qsizetype bound = base.size() / 16;
        if (journal.size() <= bound)
            break;
        recent = std::min(recent - 1, recent * bound / journal.size());
    }
    for (const auto& [name, bytes] : {std::pair{path, base}, {path + ".journal", journal}}) {
        QFile file(name);
        if (!file.open(QIODevice::WriteOnly) || file.write(bytes) != bytes.size())
            return {};
    }
    const auto timeLoad = [](const QString& file, qsizetype& messages) {
        return medianOf([&] {
            QElapsedTimer timer;
            timer.start();
            const QList<Conversation> loaded = ConversationStore(file).load();
            const double millis = millisSince(timer);
            messages = 0;
            for (const Conversation& conversation : loaded)
                messages += conversation.messages.size();
            return millis;
        });
    };
    // Held here, so that the timed stores only read (a store that holds the
    // lock folds the journal when it closes).
    const ConversationStore holdJournalled(path);
    const ConversationStore holdPlain(historyPath);
    qsizetype journalled = 0;
    qsizetype plain = 0;
    const double withJournal = timeLoad(path, journalled);
    const double fileOnly = timeLoad(historyPath, plain);
    if (journalled != historyMessages || plain != historyMessages)
        std::printf("warning: loaded %lld and %lld messages\n", qint64(journalled), qint64(plain));
    return {QStringLiteral("history load, file + journal of %1 records").arg(records),
            QStringLiteral("%1 ms (file alone %2 ms)")
                .arg(withJournal, 0, 'f', 0)
                .arg(fileOnly, 0, 'f', 0),
            QStringLiteral("≤ file alone + 10 %"), withJournal <= fileOnly * 1.1};
}

// --- Drain ---------------------------------------------------------------

struct DrainResult {
    double totalMillis = -1;
    double worstStallMillis = -1;
    // Sync reads the radio got between the user's message and the read in
    // flight when it was sent: 0 when the message was not kept waiting.
    int readsBeforeMessage = -1;
};

int countCommands(const QList<QByteArray>& frames, std::uint8_t code) {
    return int(std::count_if(frames.begin(), frames.end(), [code](const QByteArray& frame) {
        return std::uint8_t(frame.at(0)) == code;
    }));
}

DrainResult drainOnce(const QString& historyPath, const QString& directory) {
    SystemClock clock;
    SimulatedRadio radio(&clock, 5);
    radio.setLatency(0ms);
    radio.setConnectDelay(0ms);
    radio.populateDemoNeighbours();
    QFile::remove(directory + QStringLiteral("/drain.json"));
    QFile::copy(historyPath, directory + QStringLiteral("/drain.json"));
    ConversationStore store(directory + QStringLiteral("/drain.json"));
    QSettings settings(directory + QStringLiteral("/drain.ini"), QSettings::IniFormat);
    MeshController controller(&radio, &clock, nullptr, &store, &settings);
    historyIn(controller);
    controller.startScan();
    if (!spinUntil([&] { return !controller.discoveredDevices().isEmpty(); }))
        return {};
    controller.connectToDevice(controller.discoveredDevices().first());
    if (!spinUntil([&] {
            return controller.transportState() == TransportState::connected &&
                   !controller.isSyncing() && !controller.contacts().isEmpty();
        }))
        return {};
    store.flush();

    // Halfway through the drain the user sends a channel message.
    int appended = 0;
    int readsAtSend = -1;
    QObject::connect(&controller, &MeshController::messageAppended, [&] {
        if (++appended != 128)
            return;
        readsAtSend = countCommands(radio.writtenFrames(), RadioCommand::syncNextMessage);
        controller.sendMessage(QStringLiteral("sent during the drain"), ConversationID::channel(0));
    });
    // The largest gap between two ticks of a 1 ms timer is the longest the
    // UI thread was busy without a break.
    QElapsedTimer sinceTick;
    double worst = 0;
    QTimer heartbeat;
    heartbeat.setInterval(1);
    heartbeat.setTimerType(Qt::PreciseTimer);
    QObject::connect(&heartbeat, &QTimer::timeout, [&] {
        worst = std::max(worst, millisSince(sinceTick));
        sinceTick.restart();
    });
    const QString sender = controller.contacts().first().publicKey;
    const QDateTime at = QDateTime::currentDateTimeUtc();
    QElapsedTimer total;
    total.start();
    for (int i = 0; i < 256; ++i)
        radio.queueIncomingDirect(sender, QStringLiteral("queued message %1").arg(i),
                                  at.addSecs(i));
    sinceTick.start();
    heartbeat.start();
    worst = std::max(worst, millisSince(total)); // the queueing itself
    if (!spinUntil([&] { return appended >= 257 && radio.queuedMessageCount() == 0; }))
        return {};
    const double totalMillis = millisSince(total);
    heartbeat.stop();
    store.flush();
    const QList<QByteArray> frames = radio.writtenFrames();
    const auto message = std::find_if(frames.begin(), frames.end(), [](const QByteArray& frame) {
        return std::uint8_t(frame.at(0)) == RadioCommand::sendChannelText;
    });
    const int readsBefore =
        countCommands(QList<QByteArray>(frames.begin(), message), RadioCommand::syncNextMessage);
    return {totalMillis, worst, message == frames.end() ? -1 : readsBefore - readsAtSend};
}

QList<Row> drainRows(const QString& historyPath, const QString& directory) {
    QList<double> totals;
    QList<double> stalls;
    int worstWait = 0;
    for (int i = 0; i < runs; ++i) {
        const DrainResult result = drainOnce(historyPath, directory);
        totals << result.totalMillis;
        stalls << result.worstStallMillis;
        worstWait =
            result.readsBeforeMessage < 0 ? 1000 : std::max(worstWait, result.readsBeforeMessage);
    }
    const double total = median(totals);
    const double stall = median(stalls);
    return {
        {QStringLiteral("drain of 256 queued messages, 100,000 loaded, a message sent halfway"),
         QStringLiteral("%1 ms").arg(total, 0, 'f', 0), QStringLiteral("≤ 1000 ms"),
         total >= 0 && total <= 1000},
        {QStringLiteral("drain reads written before that message goes out (worst run)"),
         QString::number(worstWait), QStringLiteral("0"), worstWait == 0},
        {QStringLiteral("largest UI-thread stall during the drain"),
         QStringLiteral("%1 ms").arg(stall, 0, 'f', 1), QStringLiteral("≤ 16 ms"),
         stall >= 0 && stall <= 16},
    };
}

// --- Searching the history ---------------------------------------------------

// Over the 100,000 loaded messages: folding them into the index, the time
// from a keystroke to the first results shown, and the longest single slice
// of UI-thread work while a word is typed letter by letter.
QList<Row> searchRows(const QString& historyPath) {
    ManualClock clock;
    SimulatedRadio radio(&clock);
    ConversationStore store(historyPath);
    MeshController controller(&radio, &clock, nullptr, &store, nullptr);
    historyIn(controller);

    QList<double> indexTimes;
    QList<double> firstResults;
    QList<double> slices;
    const QStringList queries{QStringLiteral("harbour"), QStringLiteral("KIITOS"),
                              QStringLiteral("no such words")};
    for (int i = 0; i < runs; ++i) {
        HistorySearchModel model;
        QElapsedTimer timer;
        timer.start();
        model.setController(&controller);
        // The list of entries is made at once; only the folding is sliced.
        slices << millisSince(timer);
        spinUntil([&] { return model.isIdle(); });
        indexTimes << millisSince(timer);
        slices << double(model.longestSlice().count()) / 1000;

        for (const QString& query : queries) {
            model.setQuery({});
            timer.restart();
            model.setQuery(query);
            spinUntil([&] { return model.count() > 0 || !model.searching(); });
            firstResults << millisSince(timer);
        }
        // Typing: each letter a new query while the last one still runs.
        model.setQuery({});
        model.resetLongestSlice();
        const QString word = QStringLiteral("repeater");
        for (qsizetype letters = 1; letters <= word.size(); ++letters) {
            model.setQuery(word.left(letters));
            QElapsedTimer typing;
            typing.start();
            while (typing.elapsed() < 120) // a quick typist
                QCoreApplication::processEvents(QEventLoop::AllEvents, 5);
        }
        spinUntil([&] { return model.isIdle(); });
        slices << double(model.longestSlice().count()) / 1000;
    }
    const double index = median(indexTimes);
    const double first = *std::max_element(firstResults.begin(), firstResults.end());
    const double slice = *std::max_element(slices.begin(), slices.end());
    return {
        {QStringLiteral("search index of 100,000 messages, made in slices"),
         QStringLiteral("%1 ms").arg(index, 0, 'f', 0), QString(), std::nullopt},
        {QStringLiteral("search: keystroke to first results, worst of 3 queries and %1 runs")
             .arg(runs),
         QStringLiteral("%1 ms").arg(first, 0, 'f', 1), QStringLiteral("≤ 50 ms"), first <= 50},
        {QStringLiteral("search: longest UI-thread step, making the index and typing (worst run)"),
         QStringLiteral("%1 ms").arg(slice, 0, 'f', 1), QStringLiteral("≤ 16 ms"), slice <= 16},
    };
}

// --- Opening a long conversation ----------------------------------------------

Row openRow(const QString& directory) {
    const QString path = directory + QStringLiteral("/long.json");
    {
        QFile file(path);
        if (file.open(QIODevice::WriteOnly))
            file.write(encodeConversations(generateHistory(1, 10'000)));
    }
    ManualClock clock;
    SimulatedRadio radio(&clock);
    ConversationStore store(path);
    MeshController controller(&radio, &clock, nullptr, &store, nullptr);
    historyIn(controller);
    const double millis = medianOf([&] {
        QElapsedTimer timer;
        timer.start();
        MessageListModel model;
        model.setController(&controller);
        model.setConversationKey(QStringLiteral("channel:0"));
        // What the view asks for first: the rows at the bottom.
        const int count = model.rowCount();
        for (int row = std::max(0, count - 30); row < count; ++row) {
            for (int role : model.roleNames().keys())
                model.data(model.index(row), role);
        }
        const double elapsed = millisSince(timer);
        return count == 10'000 ? elapsed : -1.0;
    });
    return {QStringLiteral("open a 10,000-message conversation"),
            QStringLiteral("%1 ms").arg(millis, 0, 'f', 1), QStringLiteral("≤ 50 ms"),
            millis >= 0 && millis <= 50};
}

Row residentRow(const QString& historyPath) {
    QList<double> values;
    for (int i = 0; i < 3; ++i) {
        QProcess child;
        child.start(QCoreApplication::applicationFilePath(),
                    {QStringLiteral("--rss"), historyPath});
        if (!child.waitForFinished(120'000))
            continue;
        values << child.readAllStandardOutput().trimmed().toDouble();
    }
    const double megabytes = values.isEmpty() ? -1 : median(values);
    return {QStringLiteral("resident memory, 100,000 messages loaded"),
            QStringLiteral("%1 MB").arg(megabytes, 0, 'f', 0), QStringLiteral("≤ 150 MB"),
            megabytes > 0 && megabytes <= 150};
}

int printResident(const QString& historyPath) {
    ManualClock clock;
    SimulatedRadio radio(&clock);
    ConversationStore store(historyPath);
    MeshController controller(&radio, &clock, nullptr, &store, nullptr);
    historyIn(controller);
    qint64 messages = 0;
    for (const Conversation& conversation : controller.conversations())
        messages += conversation.messages.size();
    std::printf("%.1f\n", messages == historyMessages ? residentMegabytes() : -1.0);
    return 0;
}

// --- A million messages ------------------------------------------------------

constexpr int millionMessages = 1'000'000;

double peakMegabytes() {
    QFile status(QStringLiteral("/proc/self/status"));
    if (!status.open(QIODevice::ReadOnly))
        return -1;
    for (const QByteArray& line : status.readAll().split('\n')) {
        if (line.startsWith("VmHWM:"))
            return line.mid(6).trimmed().split(' ').first().toDouble() / 1024;
    }
    return -1;
}

// (internal) Loads the history as the app does and prints the load's time,
// the peak resident memory after it, and the peak once the search index is
// made.
int printLoad(const QString& historyPath) {
    ManualClock clock;
    SimulatedRadio radio(&clock);
    ConversationStore store(historyPath);
    QElapsedTimer timer;
    timer.start();
    MeshController controller(&radio, &clock, nullptr, &store, nullptr);
    historyIn(controller);
    const double loadMillis = millisSince(timer);
    qint64 messages = 0;
    for (const Conversation& conversation : controller.conversations())
        messages += conversation.messages.size();
    const double loaded = peakMegabytes();
    HistorySearchModel model;
    model.setController(&controller);
    spinUntil([&] { return model.isIdle(); }, 600);
    std::printf("%.1f %.1f %.1f\n", messages > 0 ? loadMillis : -1.0, loaded, peakMegabytes());
    return 0;
}

// Forgets the peak resident memory so far: VmHWM counts from now.
void resetPeak() {
    QFile refs(QStringLiteral("/proc/self/clear_refs"));
    if (refs.open(QIODevice::WriteOnly))
        refs.write("5");
}

// (internal) The journal folded into the file, as at quit, with the history
// loaded as the app holds it: prints the resident memory before, the peak
// during the fold and the fold's time.
int printFold(const QString& historyPath) {
    auto store = std::make_unique<ConversationStore>(historyPath);
    QList<Conversation> history = store->load();
    if (history.isEmpty())
        return 1;
    ChatMessage message;
    message.id = QUuid::createUuid();
    message.text = QStringLiteral("one more");
    message.timestamp = QDateTime::currentDateTimeUtc();
    // The first change starts a journal when there is none (a fold of its
    // own); the second goes into it.
    for (int change = 0; change < 2; ++change) {
        message.id = QUuid::createUuid();
        history.first().messages.append(message);
        store->save(history);
        store->flush();
    }
    if (!QFileInfo(store->journalPath()).size())
        return 1;
    const double before = residentMegabytes();
    resetPeak();
    QElapsedTimer timer;
    timer.start();
    store.reset(); // folds the journal
    const double millis = millisSince(timer);
    std::printf("%.1f %.1f %.1f\n", before, peakMegabytes(), millis);
    return 0;
}

// (internal) Another Talvenne holds the history while this one starts; a
// message arrives in each meanwhile, then the other lets go and this one
// reads what it left. Prints the UI thread's longest step (the event loop's longest
// gap) from the release until the history is written again, and the time
// that took.
int printReload(const QString& historyPath) {
    auto other = std::make_unique<OwnedLock>(historyPath + QStringLiteral(".lock"));
    if (other->acquire() != OwnedLock::State::owned)
        return 1;
    ManualClock clock;
    SimulatedRadio radio(&clock);
    ConversationStore store(historyPath);
    MeshController controller(&radio, &clock, nullptr, &store, nullptr);
    historyIn(controller);
    const auto& conversations = controller.conversations();
    if (conversations.isEmpty() || controller.historyWritable())
        return 1;
    const auto biggest = biggestConversation(conversations);
    const ConversationID target = biggest->target;
    ChatMessage message;
    message.id = QUuid::createUuid();
    message.text = QStringLiteral("while the other one held the history");
    message.timestamp = QDateTime::currentDateTimeUtc();
    controller.appendMessage(message, target);
    // The other one received a message meanwhile, and journalled it.
    {
        QFile file(historyPath);
        QFile journal(store.journalPath());
        if (!file.open(QIODevice::ReadOnly) ||
            !file.seek(std::max<qint64>(0, file.size() - 4096)) ||
            !journal.open(QIODevice::WriteOnly | QIODevice::Truncate))
            return 1;
        ChatMessage theirs = message;
        theirs.id = QUuid::createUuid();
        theirs.text = QStringLiteral("received by the other one");
        journal.write(Journal::header(file.size(), file.readAll()));
        journal.write(Journal::frame(
            {JournalRecord::Kind::merge, Conversation{target, {theirs}, theirs.timestamp, 1}}));
    }

    QElapsedTimer timer;
    timer.start();
    qint64 last = 0;
    qint64 longest = 0;
    QTimer ticks;
    ticks.setInterval(1);
    QObject::connect(&ticks, &QTimer::timeout, [&] {
        const qint64 now = timer.nsecsElapsed();
        longest = std::max(longest, now - last);
        last = now;
    });
    ticks.start();
    other.reset();
    timer.restart();
    last = 0;
    spinUntil([&] { return controller.historyWritable(); }, 600);
    const double done = millisSince(timer);
    spinUntil([&] { return timer.elapsed() > done + 500; });
    ticks.stop();
    // Theirs, then this one's on top.
    const auto found = conversations.constFind(target.conversationKey());
    const bool kept = found != conversations.cend() && found->messages.size() >= 2 &&
                      found->messages.last().id == message.id &&
                      found->messages.at(found->messages.size() - 2).text.toString() ==
                          QStringLiteral("received by the other one");
    std::printf("%.1f %.1f\n", kept ? double(longest) / 1e6 : -1.0, done);
    return 0;
}

// (internal) The history read on the store's thread and taken in on the UI
// thread, with the conversation list following it (a list of channels the
// radio has, so empty here, but it follows each change). Prints the UI thread's
// longest step (the event loop's longest gap) from the hand-over until the
// list is filled and a moment after, and the hand-over's own step.
int printHandOver(const QString& historyPath) {
    ManualClock clock;
    SimulatedRadio radio(&clock);
    ConversationStore store(historyPath);
    QElapsedTimer timer;
    timer.start();
    qint64 handedOver = -1;
    qint64 taken = -1;
    qint64 last = 0;
    qint64 longest = 0;
    // Connected before the controller's own slot, and after it.
    QObject::connect(&store, &ConversationStore::loaded, [&] {
        handedOver = timer.nsecsElapsed();
        last = handedOver;
    });
    MeshController controller(&radio, &clock, nullptr, &store, nullptr);
    QObject::connect(&store, &ConversationStore::loaded, [&] { taken = timer.nsecsElapsed(); });
    ConversationListModel list;
    list.setController(&controller);
    QTimer ticks;
    ticks.setInterval(1);
    ticks.setTimerType(Qt::PreciseTimer);
    QObject::connect(&ticks, &QTimer::timeout, [&] {
        const qint64 now = timer.nsecsElapsed();
        if (handedOver >= 0)
            longest = std::max(longest, now - last);
        last = now;
    });
    ticks.start();
    if (!historyIn(controller) || controller.conversations().isEmpty())
        return 1;
    const qint64 filled = timer.elapsed();
    spinUntil([&] { return timer.elapsed() > filled + 300; });
    ticks.stop();
    std::printf("%.1f %.1f\n", double(longest) / 1e6, double(taken - handedOver) / 1e6);
    return 0;
}

struct MessageCost {
    double receivedMillis = -1; // UI thread, a received message
    double sentMillis = -1;     // UI thread, a sent one: stored, sent, delivered
    double writerMillis = -1;   // the writer's work for one change, sync included
    double diffMillis = -1;     // the writer's comparison of two snapshots
};

// A received and a sent message in the biggest conversation of the history,
// each change saved: the UI thread's part and the writer's (timed by waiting
// for it), 21 of each.
MessageCost messageCost(const QString& historyPath) {
    ManualClock clock;
    SimulatedRadio radio(&clock);
    ConversationStore store(historyPath);
    MeshController controller(&radio, &clock, nullptr, &store, nullptr);
    historyIn(controller);
    store.flush();
    const auto& conversations = controller.conversations();
    const auto biggest = biggestConversation(conversations);
    if (biggest == conversations.cend())
        return {};
    const ConversationID target = biggest->target;
    QList<double> received;
    QList<double> sent;
    QList<double> writer;
    QList<double> diffs;
    const QDateTime at = QDateTime::currentDateTimeUtc();
    for (int i = 0; i < 21; ++i) {
        ChatMessage message;
        message.id = QUuid::createUuid();
        message.text = QStringLiteral("a message at the end of a long history, %1").arg(i);
        message.timestamp = at.addSecs(i);
        const QList<Conversation> before = conversations.values();
        QElapsedTimer timer;
        timer.start();
        controller.appendMessage(message, target);
        received << millisSince(timer);
        timer.restart();
        store.flush();
        writer << millisSince(timer);
        const QList<Conversation> after = conversations.values();
        timer.restart();
        const qsizetype records = Journal::diff(before, after).size();
        diffs << (records == 1 ? millisSince(timer) : -1.0);

        message.id = QUuid::createUuid();
        message.direction = ChatMessage::Direction::outgoing;
        message.deliveryState = ChatMessage::DeliveryState::sending;
        double ui = 0;
        const std::function<void()> steps[] = {
            [&] { controller.appendMessage(message, target); },
            [&] { controller.markSent(message.id, target, 0xa000 + i, 5000); },
            [&] { controller.markDelivered(message.id, target, 900); },
        };
        for (const auto& step : steps) {
            timer.restart();
            step();
            ui += millisSince(timer);
            timer.restart();
            store.flush();
            writer << millisSince(timer);
        }
        sent << ui;
    }
    return {median(received), median(sent), median(writer), median(diffs)};
}

// The search index of the whole history: when it is complete, the longest
// step of UI-thread work meanwhile, and how long a query typed while it is
// still being made waits for its first results.
struct IndexCost {
    double readyMillis = -1;
    double longestStepMillis = -1;
    double firstResultsMillis = -1;
};

IndexCost indexCost(const QString& historyPath) {
    ManualClock clock;
    SimulatedRadio radio(&clock);
    ConversationStore store(historyPath);
    MeshController controller(&radio, &clock, nullptr, &store, nullptr);
    historyIn(controller);
    IndexCost cost;
    {
        HistorySearchModel model;
        QElapsedTimer timer;
        timer.start();
        model.setController(&controller);
        const double first = millisSince(timer);
        if (!spinUntil([&] { return model.isIdle(); }, 600))
            return {};
        cost.readyMillis = millisSince(timer);
        cost.longestStepMillis = std::max(first, double(model.longestSlice().count()) / 1000);
    }
    HistorySearchModel model;
    model.setController(&controller);
    QElapsedTimer timer;
    timer.start();
    spinUntil([&] { return timer.elapsed() >= 200; }); // a moment after the start
    timer.restart();
    model.setQuery(QStringLiteral("harbour"));
    spinUntil([&] { return model.count() > 0 || !model.searching(); }, 600);
    cost.firstResultsMillis = millisSince(timer);
    return cost;
}

// --- Start-up with a large history -------------------------------------------

struct StartupTimes {
    double firstFrameMillis = -1;
    double historyShownMillis = -1;
};

// One start of the app, offscreen, with `historyPath` as the user's history
// (in a home of its own): from exec to its first frame, and to the first
// frame with the history's rows, as the app logs them.
StartupTimes startOnce(const QString& historyPath) {
    QTemporaryDir home;
    const QString data = home.filePath(QStringLiteral("data/Talvenne"));
    QDir().mkpath(data);
    if (!QFile::link(historyPath, data + QStringLiteral("/conversations.json")))
        return {};
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    environment.insert(QStringLiteral("HOME"), home.path());
    environment.insert(QStringLiteral("XDG_DATA_HOME"), home.filePath(QStringLiteral("data")));
    environment.insert(QStringLiteral("XDG_CONFIG_HOME"), home.filePath(QStringLiteral("config")));
    environment.insert(QStringLiteral("XDG_CACHE_HOME"), home.filePath(QStringLiteral("cache")));
    environment.insert(QStringLiteral("XDG_RUNTIME_DIR"), home.path());
    environment.insert(QStringLiteral("QT_QPA_PLATFORM"), QStringLiteral("offscreen"));
    environment.insert(QStringLiteral("QT_LOGGING_RULES"),
                       QStringLiteral("*.debug=false;talvenne.startup.info=true"));
    environment.insert(QStringLiteral("QT_MESSAGE_PATTERN"), QStringLiteral("%{message}"));
    QProcess app;
    app.setProcessEnvironment(environment);
    app.setProcessChannelMode(QProcess::MergedChannels);
    app.start(QCoreApplication::applicationDirPath() + QStringLiteral("/talvenne"));
    StartupTimes times;
    QByteArray output;
    const auto millisAfter = [&](const QByteArray& what) {
        const qsizetype at = output.indexOf(what);
        return at < 0 ? -1.0 : output.mid(at + what.size()).split(' ').first().toDouble();
    };
    QElapsedTimer timer;
    timer.start();
    while (timer.elapsed() < 60'000 && app.state() != QProcess::NotRunning) {
        app.waitForReadyRead(100);
        output += app.readAll();
        times.firstFrameMillis = millisAfter("first frame after ");
        times.historyShownMillis = millisAfter("history shown after ");
        if (times.historyShownMillis >= 0)
            break;
    }
    app.kill();
    app.waitForFinished();
    return times;
}

QList<Row> startupRows(const QString& historyPath, const QString& shape) {
    QList<double> frames;
    QList<double> shown;
    for (int i = 0; i < 3; ++i) {
        const StartupTimes times = startOnce(historyPath);
        frames << times.firstFrameMillis;
        shown << times.historyShownMillis;
    }
    const double frame = median(frames);
    const double lists = median(shown);
    return {Row{QStringLiteral("first frame (offscreen), %1").arg(shape),
                QStringLiteral("%1 s").arg(frame / 1000, 0, 'f', 2), QStringLiteral("≤ 0.35 s"),
                frame >= 0 && frame <= 350},
            Row{QStringLiteral("history shown (lists filled) after start, %1").arg(shape),
                QStringLiteral("%1 s").arg(lists / 1000, 0, 'f', 2), QStringLiteral("≤ 1.0 s"),
                lists >= 0 && lists <= 1000}};
}

// Opening the biggest conversation of the history: the model's rows at the
// bottom, which the view asks for first, with every role.
Row openBiggestRow(const QString& historyPath, const QString& shape) {
    ManualClock clock;
    SimulatedRadio radio(&clock);
    ConversationStore store(historyPath);
    MeshController controller(&radio, &clock, nullptr, &store, nullptr);
    historyIn(controller);
    const auto& conversations = controller.conversations();
    const auto biggest = biggestConversation(conversations);
    if (biggest == conversations.cend())
        return {};
    const QString key = biggest.key();
    const qsizetype size = biggest->messages.size();
    const double millis = medianOf([&] {
        QElapsedTimer timer;
        timer.start();
        MessageListModel model;
        model.setController(&controller);
        model.setConversationKey(key);
        const int count = model.rowCount();
        for (int row = std::max(0, count - 30); row < count; ++row) {
            for (int role : model.roleNames().keys())
                model.data(model.index(row), role);
        }
        const double elapsed = millisSince(timer);
        return count == size ? elapsed : -1.0;
    });
    return {QStringLiteral("open the biggest conversation (%1 messages), %2")
                .arg(QLocale(QLocale::English).toString(qlonglong(size)), shape),
            QStringLiteral("%1 ms").arg(millis, 0, 'f', 1), QStringLiteral("≤ 50 ms"),
            millis >= 0 && millis <= 50};
}

bool writeHistory(const QString& path, int conversations, int messages) {
    QFile file(path);
    return conversations > 0 && file.open(QIODevice::WriteOnly) &&
           file.write(encodeConversations(generateHistory(conversations, messages))) >= 0;
}

QList<QList<double>> childColumns(const QStringList& arguments, int count = 3,
                                  const QProcessEnvironment& environment = {});

// A child that prints the UI thread's longest step and a second figure (in
// brackets, with `decimals` places), as a row that holds up to `limit` ms.
QList<Row> longestStepRow(const QStringList& child, const QString& label, int decimals,
                          double limit) {
    const QList<QList<double>> c = childColumns(child);
    if (c.size() != 2)
        return {};
    const double longest = median(c.at(0));
    return {Row{label,
                QStringLiteral("%1 ms (%2 ms)")
                    .arg(longest, 0, 'f', 1)
                    .arg(median(c.at(1)), 0, 'f', decimals),
                QStringLiteral("≤ %1 ms").arg(limit), longest >= 0 && longest <= limit}};
}

// Scrolling the biggest conversation in the chat view, offscreen with the
// software renderer (as the map's rows).
QList<Row> scrollRows(const QString& path, const QString& shape) {
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    environment.insert(QStringLiteral("QT_QPA_PLATFORM"), QStringLiteral("offscreen"));
    environment.insert(QStringLiteral("QT_QUICK_BACKEND"), QStringLiteral("software"));
    const QList<QList<double>> c = childColumns({QStringLiteral("--scroll"), path}, 3, environment);
    if (c.size() != 10)
        return {};
    const auto m = [&](int column) { return median(c.at(column)); };
    // The median, 95th percentile and worst frame, from `first` on.
    const auto spread = [&](int first) {
        return QStringLiteral("%1 / %2 / %3 ms")
            .arg(m(first), 0, 'f', 1)
            .arg(m(first + 1), 0, 'f', 1)
            .arg(m(first + 2), 0, 'f', 1);
    };
    return {
        Row{QStringLiteral("chat view, software renderer: open the biggest conversation to "
                           "the first frame that shows its end, %1")
                .arg(shape),
            QStringLiteral("%1 ms").arg(m(0), 0, 'f', 0), QStringLiteral("≤ 50 ms"), m(0) <= 50},
        Row{QStringLiteral("chat view: back to it from another conversation, %1").arg(shape),
            QStringLiteral("%1 ms").arg(m(9), 0, 'f', 0), QStringLiteral("≤ 50 ms"), m(9) <= 50},
        Row{QStringLiteral("chat view: scroll up 40 px a frame, 240 frames, median / 95th / "
                           "worst, %1")
                .arg(shape),
            spread(1), QStringLiteral("≤ 16.7 ms"), m(2) <= 16.7},
        Row{QStringLiteral("chat view: 60 jumps to far rows (a dragged scroll bar), median / "
                           "95th / worst, %1")
                .arg(shape),
            spread(4), QStringLiteral("≤ 16.7 ms"), m(5) <= 16.7},
        Row{QStringLiteral("chat view: GUI thread CPU per frame over both, %1").arg(shape),
            QStringLiteral("%1 ms").arg(m(7), 0, 'f', 1), QString(), std::nullopt}};
}

// The figures of the million-message history, by group.
enum MillionPart : unsigned {
    startupPart = 1, // first frame, history shown, opening the biggest conversation
    costPart = 2,    // a message's cost on the UI thread and the writer
    indexPart = 4,   // the search index
    loadPart = 8,    // the load's time and memory
    foldPart = 16,   // folding the journal: memory and time
    reloadPart = 32, // another Talvenne letting go of the history
    scrollPart = 64, // scrolling the biggest conversation
    allParts = 127,
};

// Runs `child` (this program with those arguments) `count` times and returns
// the numbers each run printed on one line, by column.
QList<QList<double>> childColumns(const QStringList& arguments, int count,
                                  const QProcessEnvironment& environment) {
    QList<QList<double>> columns;
    for (int i = 0; i < count; ++i) {
        QProcess child;
        if (!environment.isEmpty())
            child.setProcessEnvironment(environment);
        child.start(QCoreApplication::applicationFilePath(), arguments);
        if (!child.waitForFinished(600'000) || child.exitCode() != 0)
            continue;
        const QList<QByteArray> parts =
            child.readAllStandardOutput().trimmed().split('\n').last().split(' ');
        columns.resize(std::max(columns.size(), parts.size()));
        for (qsizetype c = 0; c < parts.size(); ++c)
            columns[c] << parts.at(c).toDouble();
    }
    return columns;
}

// The rows of a large history (`messages` in all), in 200 conversations and
// in one.
QList<Row> largeHistoryRows(const QString& directory, int messages, unsigned parts) {
    QList<Row> rows;
    const QString count = QLocale(QLocale::English).toString(messages);
    for (const int conversations : {historyConversations, 1}) {
        const QString path =
            directory + QStringLiteral("/large-%1-%2.json").arg(messages).arg(conversations);
        if (!writeHistory(path, conversations, messages))
            return rows;
        const QString shape =
            conversations == 1
                ? QStringLiteral("%1 messages in one conversation").arg(count)
                : QStringLiteral("%1 messages in %2 conversations").arg(count).arg(conversations);
        if (parts & startupPart) {
            rows << startupRows(path, shape);
            rows << openBiggestRow(path, shape);
        }
        if (parts & reloadPart) {
            rows << longestStepRow({QStringLiteral("--reload"), path},
                                   QStringLiteral("another Talvenne lets go of the history: the "
                                                  "UI thread's longest step until it is read and "
                                                  "written again (that took), %1")
                                       .arg(shape),
                                   0, 50);
            QFile::remove(path + QStringLiteral(".journal"));
        }
        if (parts & scrollPart)
            rows << scrollRows(path, shape);
        if (parts & costPart) {
            QList<MessageCost> costs;
            for (int i = 0; i < 3; ++i) {
                QFile::remove(path + QStringLiteral(".journal"));
                costs << messageCost(path);
            }
            const double received = medianField(costs, &MessageCost::receivedMillis);
            const double sent = medianField(costs, &MessageCost::sentMillis);
            const double writer = medianField(costs, &MessageCost::writerMillis);
            const double diff = medianField(costs, &MessageCost::diffMillis);
            rows << Row{QStringLiteral("UI thread per received / sent message, %1").arg(shape),
                        QStringLiteral("%1 / %2 ms").arg(received, 0, 'f', 3).arg(sent, 0, 'f', 3),
                        QStringLiteral("≤ 1 ms"), received >= 0 && sent >= 0 && sent <= 1};
            rows << Row{
                QStringLiteral("writer per change (sync included) / its comparison, %1").arg(shape),
                QStringLiteral("%1 / %2 ms").arg(writer, 0, 'f', 2).arg(diff, 0, 'f', 3),
                QStringLiteral("≤ 5 ms"), writer >= 0 && writer <= 5};
        }

        if (parts & indexPart) {
            QList<IndexCost> indexes;
            for (int i = 0; i < 3; ++i)
                indexes << indexCost(path);
            const double ready = medianField(indexes, &IndexCost::readyMillis);
            const double step = medianField(indexes, &IndexCost::longestStepMillis);
            const double first = medianField(indexes, &IndexCost::firstResultsMillis);
            rows << Row{
                QStringLiteral("search index ready / longest UI-thread step, %1").arg(shape),
                QStringLiteral("%1 s / %2 ms").arg(ready / 1000, 0, 'f', 2).arg(step, 0, 'f', 1),
                QStringLiteral("≤ 3 s / ≤ 16 ms"), ready >= 0 && ready <= 3000 && step <= 16};
            rows << Row{
                QStringLiteral("search while the index is made: first results, %1").arg(shape),
                QStringLiteral("%1 ms").arg(first, 0, 'f', 1), QStringLiteral("≤ 50 ms"),
                first >= 0 && first <= 50};
        }

        if (parts & loadPart) {
            QList<double> loads;
            QList<double> peaks;
            QList<double> indexedPeaks;
            for (int i = 0; i < 3; ++i) {
                QFile::remove(path + QStringLiteral(".journal"));
                QProcess child;
                child.start(QCoreApplication::applicationFilePath(),
                            {QStringLiteral("--load"), path});
                if (!child.waitForFinished(600'000))
                    continue;
                const QList<QByteArray> parts = child.readAllStandardOutput().trimmed().split(' ');
                if (parts.size() != 3)
                    continue;
                loads << parts.at(0).toDouble();
                peaks << parts.at(1).toDouble();
                indexedPeaks << parts.at(2).toDouble();
            }
            if (!loads.isEmpty()) {
                rows << Row{QStringLiteral("history load, %1").arg(shape),
                            QStringLiteral("%1 ms").arg(median(loads), 0, 'f', 0), QString(),
                            std::nullopt};
                rows << Row{QStringLiteral("peak memory after the load / with the search index, %1")
                                .arg(shape),
                            QStringLiteral("%1 / %2 MB")
                                .arg(median(peaks), 0, 'f', 0)
                                .arg(median(indexedPeaks), 0, 'f', 0),
                            QStringLiteral("≤ 300 MB"), median(indexedPeaks) <= 300};
            }
            rows << longestStepRow({QStringLiteral("--hand-over"), path},
                                   QStringLiteral("the UI thread's longest step from the "
                                                  "history's hand-over until the list is filled "
                                                  "(the hand-over itself), %1")
                                       .arg(shape),
                                   1, 16);
        }
        // Last: the fold rewrites the file.
        if (parts & foldPart) {
            QFile::remove(path + QStringLiteral(".journal"));
            const QList<QList<double>> fold = childColumns({QStringLiteral("--fold"), path});
            if (fold.size() == 3) {
                const double before = median(fold.at(0));
                const double peak = median(fold.at(1));
                rows << Row{QStringLiteral("folding the journal into the file: resident memory "
                                           "before / peak during the fold (it took), %1")
                                .arg(shape),
                            QStringLiteral("%1 / %2 MB (%3 ms)")
                                .arg(before, 0, 'f', 0)
                                .arg(peak, 0, 'f', 0)
                                .arg(median(fold.at(2)), 0, 'f', 0),
                            QStringLiteral("≤ before + 16 MB"), peak <= before + 16};
            }
        }
        QFile::remove(path);
        QFile::remove(path + QStringLiteral(".journal"));
    }
    return rows;
}

} // namespace

// The map's rows, from child processes: the software renderer, the one Qt
// picks offscreen, and the one it picks on the X display when there is one.
QList<Row> mapRows() {
    struct Run {
        const char* platform;
        const char* backend; // null: Qt's choice
    };
    QList<Run> runs{{"offscreen", "software"}, {"offscreen", nullptr}};
    if (!qEnvironmentVariableIsEmpty("DISPLAY"))
        runs.append({"xcb", nullptr});
    QList<Row> rows;
    for (const Run& run : runs) {
        QProcess child;
        QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
        environment.insert(QStringLiteral("QT_QPA_PLATFORM"), QLatin1String(run.platform));
        if (run.backend)
            environment.insert(QStringLiteral("QT_QUICK_BACKEND"), QLatin1String(run.backend));
        else
            environment.remove(QStringLiteral("QT_QUICK_BACKEND"));
        child.setProcessEnvironment(environment);
        child.setProcessChannelMode(QProcess::ForwardedErrorChannel);
        child.start(QCoreApplication::applicationFilePath(), {QStringLiteral("--map")});
        if (!child.waitForFinished(600000))
            continue;
        for (const QByteArray& line : child.readAllStandardOutput().split('\n')) {
            const QStringList cells = QString::fromUtf8(line).split(u'\t');
            if (cells.size() != 4)
                continue;
            Row row{QStringLiteral("%1 (%2)").arg(cells.at(0), QLatin1String(run.platform)),
                    cells.at(1),
                    cells.at(2),
                    {}};
            if (!cells.at(3).isEmpty())
                row.holds = cells.at(3) == QStringLiteral("yes");
            rows << row;
        }
    }
    return rows;
}

int main(int argc, char* argv[]) {
    if (argc == 2 && QByteArray(argv[1]) == "--map")
        return runMapBench(argc, argv);
    if (argc == 3 && QByteArray(argv[1]) == "--scroll")
        return runChatScrollBench(argc, argv);
    QCoreApplication app(argc, argv);
    installTranslations(app);
    const QStringList arguments = app.arguments();
    if (arguments.size() == 3 && arguments.at(1) == QStringLiteral("--rss"))
        return printResident(arguments.at(2));
    if (arguments.size() == 3 && arguments.at(1) == QStringLiteral("--load"))
        return printLoad(arguments.at(2));
    if (arguments.size() == 4 && arguments.at(1) == QStringLiteral("--write-million"))
        return writeHistory(arguments.at(2), arguments.at(3).toInt(), millionMessages) ? 0 : 1;
    if (arguments.size() == 3 && arguments.at(1) == QStringLiteral("--fold"))
        return printFold(arguments.at(2));
    if (arguments.size() == 3 && arguments.at(1) == QStringLiteral("--reload"))
        return printReload(arguments.at(2));
    if (arguments.size() == 3 && arguments.at(1) == QStringLiteral("--hand-over"))
        return printHandOver(arguments.at(2));
    if (arguments.size() == 2 && arguments.at(1) == QStringLiteral("--million")) {
        QTemporaryDir scratch;
        printTable(largeHistoryRows(scratch.path(), millionMessages, allParts));
        return 0;
    }
    if (arguments.size() == 2 && arguments.at(1) == QStringLiteral("--hundred-thousand")) {
        QTemporaryDir scratch;
        printTable(largeHistoryRows(scratch.path(), historyMessages, allParts));
        return 0;
    }
    // Only the start-up and opening rows of the million-message history.
    if (arguments.size() == 2 && arguments.at(1) == QStringLiteral("--million-startup")) {
        QTemporaryDir scratch;
        printTable(largeHistoryRows(scratch.path(), millionMessages, startupPart));
        return 0;
    }
    // Some groups of them: startup, cost, index, load, fold, reload, scroll.
    if (arguments.size() == 3 && arguments.at(1) == QStringLiteral("--million-only")) {
        const QStringList names{"startup", "cost", "index", "load", "fold", "reload", "scroll"};
        unsigned parts = 0;
        for (const QString& name : arguments.at(2).split(u','))
            if (names.contains(name))
                parts |= 1u << names.indexOf(name);
        QTemporaryDir scratch;
        printTable(largeHistoryRows(scratch.path(), millionMessages, parts));
        return 0;
    }

    QTemporaryDir directory;
    const QString historyPath = directory.filePath(QStringLiteral("conversations.json"));
    const QList<Conversation> history = generateHistory(historyConversations, historyMessages);
    {
        QFile file(historyPath);
        if (!file.open(QIODevice::WriteOnly) || file.write(encodeConversations(history)) < 0)
            return 1;
    }

    QList<Row> rows;
    rows << decodingRow();
    rows << historyRows(historyPath, history);
    rows << bytesPerMessageRow(historyPath, history, directory.path());
    rows << journalLoadRow(historyPath, history, directory.path());
    rows << drainRows(historyPath, directory.path());
    rows << searchRows(historyPath);
    rows << openRow(directory.path());
    rows << residentRow(historyPath);
    rows << mapRows();
    rows << startupRows(historyPath, QStringLiteral("100,000 messages in 200 conversations"));
    rows << largeHistoryRows(directory.path(), millionMessages, allParts);
    printTable(rows);
    return 0;
}
