#pragma once

#include "controller/conversation_store.h"
#include "controller/mesh_controller.h"
#include "recording_notifier.h"
#include "time/clock.h"

#include <QDateTime>
#include <QFile>
#include <QSettings>
#include <QStringList>
#include <QTemporaryDir>
#include <QTest>
#include <QUuid>
#include <atomic>
#include <chrono>
#include <fcntl.h>
#include <memory>
#include <optional>
#include <sys/stat.h>
#include <thread>
#include <type_traits>
#include <unistd.h>

// Waits for the history the controller reads in the background.
inline bool historyIn(const MeshController& controller) {
    return QTest::qWaitFor([&] { return controller.historyLoaded(); }, 10000);
}

// A history file the disk is slow to give: a named pipe, whose reading
// waits until the test hands the bytes over (from any thread). Declare it
// after the store that reads it.
class HistoryHeldBack {
public:
    explicit HistoryHeldBack(QString path)
        : m_path(std::move(path)) {
        QFile::remove(m_path);
        m_made = ::mkfifo(QFile::encodeName(m_path).constData(), 0600) == 0;
    }
    ~HistoryHeldBack() { handOver({}); }
    HistoryHeldBack(const HistoryHeldBack&) = delete;
    HistoryHeldBack& operator=(const HistoryHeldBack&) = delete;

    bool isMade() const { return m_made; }
    // The reader has opened the file, and handOver() goes on.
    bool readerCame() const { return m_readerCame; }
    // Once the reader is there (and `gate`, when given, is open: at most
    // 10 s): `bytes`, then the end of the file.
    void handOver(const QByteArray& bytes, const std::atomic<bool>* gate = nullptr) {
        if (!m_made || m_handedOver.exchange(true))
            return;
        const QByteArray path = QFile::encodeName(m_path);
        int fd = -1;
        for (int tries = 0; fd < 0 && tries < 10'000; ++tries) {
            fd = ::open(path.constData(), O_WRONLY | O_NONBLOCK);
            if (fd < 0)
                std::this_thread::sleep_for(std::chrono::milliseconds(1));
        }
        if (fd < 0)
            return;
        m_readerCame = true;
        for (int waited = 0; gate && !gate->load() && waited < 10'000; ++waited)
            std::this_thread::sleep_for(std::chrono::milliseconds(1));
        ::fcntl(fd, F_SETFL, 0);
        for (qsizetype done = 0; done < bytes.size();) {
            const ssize_t written =
                ::write(fd, bytes.constData() + done, size_t(bytes.size() - done));
            if (written <= 0)
                break;
            done += written;
        }
        ::close(fd);
    }

private:
    QString m_path;
    bool m_made = false;
    std::atomic<bool> m_handedOver = false;
    std::atomic<bool> m_readerCame = false;
};

// Everything a controller needs, on virtual time and throw-away files, over a
// link of type `Link` (built with the bench's clock first when it takes one).
// The members are declared in the order they depend on each other, so the
// controller goes before the link, store and clock it uses.
template <typename Link>
struct ControllerBench {
    QTemporaryDir dir;
    ManualClock clock;
    Link link;
    RecordingNotifier notifier;
    std::unique_ptr<ConversationStore> store;
    std::unique_ptr<QSettings> settings;
    // Made by buildControllerHoldingHistory().
    std::unique_ptr<HistoryHeldBack> heldBack;
    std::unique_ptr<MeshController> controller;

    // `history` is written to the history file before the store opens it; the
    // controller waits for buildController() when `build` is false, so a test
    // can prepare settings and history first.
    template <typename... LinkArgs>
    explicit ControllerBench(const QList<Conversation>& history, bool build, LinkArgs&&... linkArgs)
        : link(makeLink(clock, std::forward<LinkArgs>(linkArgs)...)) {
        if (!history.isEmpty()) {
            QFile file(historyPath());
            if (file.open(QIODevice::WriteOnly))
                file.write(encodeConversations(history));
        }
        store = std::make_unique<ConversationStore>(historyPath());
        settings = std::make_unique<QSettings>(dir.filePath(QStringLiteral("settings.ini")),
                                               QSettings::IniFormat);
        if (build)
            buildController();
    }

    // The controller, once it has read the history (or at once).
    void buildController(bool waitForHistory = true) {
        controller =
            std::make_unique<MeshController>(&link, &clock, &notifier, store.get(), settings.get());
        if (!waitForHistory)
            return;
        historyIn(*controller);
        // The badge the history read shows is the start of what tests look at.
        notifier.badges.clear();
    }
    // The controller, with its history on a slow disk: read once
    // heldBack->handOver() has given it.
    void buildControllerHoldingHistory() {
        heldBack = std::make_unique<HistoryHeldBack>(historyPath());
        buildController(false);
    }
    // Moves the clock `millis` on and tells whether `outcome` ended then and
    // not a millisecond sooner (at once for 0).
    template <typename Outcome>
    bool endsAfter(const Outcome& outcome, int millis) {
        if (millis > 0) {
            clock.advance(std::chrono::milliseconds(millis - 1));
            if (outcome.done)
                return false;
            clock.advance(std::chrono::milliseconds(1));
        }
        return outcome.done;
    }
    QString historyPath() const { return dir.filePath(QStringLiteral("conversations.json")); }

    // What the disk holds (file and journal) once every save so far has been
    // written; read by a second store, which stays read-only beside `store`.
    std::optional<QList<Conversation>> savedHistory() {
        store->flush();
        if (!QFile::exists(historyPath()))
            return std::nullopt;
        return ConversationStore(historyPath()).load();
    }

private:
    template <typename... Args>
    static Link makeLink(ManualClock& clock, Args&&... args) {
        if constexpr (std::is_constructible_v<Link, ManualClock*, Args...>)
            return Link(&clock, std::forward<Args>(args)...);
        else
            return Link(std::forward<Args>(args)...);
    }
};

inline QString keyOf(char digit) {
    return QString(64, QLatin1Char(digit));
}

inline Contact makeContact(const QString& key, const QString& name, qint64 lastAdvert = 0,
                           std::int8_t outPathLength = -1) {
    Contact c;
    c.publicKey = key;
    c.name = name;
    c.lastAdvert = QDateTime::fromSecsSinceEpoch(lastAdvert, Qt::UTC);
    c.lastModified = c.lastAdvert;
    c.outPathLength = outPathLength;
    return c;
}

inline QStringList keysOf(const QList<Contact>& contacts) {
    QStringList keys;
    for (const Contact& contact : contacts)
        keys << contact.publicKey;
    return keys;
}

inline ChatMessage incomingMessage(const QString& text, const QDateTime& at) {
    ChatMessage message;
    message.id = QUuid::createUuid();
    message.direction = ChatMessage::Direction::incoming;
    message.text = text;
    message.timestamp = at;
    return message;
}

// The error a finished coroutine ended with, or none.
template <typename Outcome>
std::optional<MeshError> meshErrorOf(const Outcome& outcome) {
    if (!outcome.error)
        return std::nullopt;
    try {
        std::rethrow_exception(outcome.error);
    } catch (const MeshError& error) {
        return error;
    } catch (...) {
        return std::nullopt;
    }
}

// Its description; empty for success.
template <typename Outcome>
QString errorTextOf(const Outcome& outcome) {
    if (!outcome.error)
        return {};
    const auto error = meshErrorOf(outcome);
    return error ? error->description() : QStringLiteral("<not a MeshError>");
}
