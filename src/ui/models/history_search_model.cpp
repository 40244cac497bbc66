#include "history_search_model.h"

#include "conversation_key.h"
#include "logic/channel_sender.h"
#include "logic/date_formats.h"
#include "logic/history_search.h"
#include "logic/safe_text.h"

#include <algorithm>

HistorySearchModel::HistorySearchModel(QObject* parent)
    : ControllerBoundListModel(parent) {
    m_work.setSingleShot(false);
    m_work.setInterval(0);
    connect(&m_work, &QTimer::timeout, this, &HistorySearchModel::runSlice);
}

void HistorySearchModel::attach(MeshController* controller) {
    if (controller) {
        connect(controller, &MeshController::messageAppended, this,
                &HistorySearchModel::onMessageAppended);
        // Rare changes that take messages away: the index is made anew.
        connect(controller, &MeshController::messageRemoved, this, &HistorySearchModel::reindex);
        connect(controller, &MeshController::conversationRemoved, this,
                &HistorySearchModel::reindex);
        connect(controller, &MeshController::conversationsReset, this,
                &HistorySearchModel::reindex);
    }
    reindex();
}

void HistorySearchModel::setLocale(const QLocale& locale) {
    m_locale = locale;
    m_folder = ViewLogic::SearchFolder(locale);
    reindex();
}

void HistorySearchModel::setQuery(const QString& query) {
    if (m_query == query)
        return;
    m_query = query;
    m_foldedQuery = ViewLogic::foldForSearch(query.trimmed(), m_locale).remove(QChar(0));
    m_foldedQueryBytes = m_foldedQuery.toUtf8();
    restartSearch();
    Q_EMIT queryChanged();
}

QString HistorySearchModel::emptyText() const {
    if (m_searching || m_foldedQuery.isEmpty() || !m_results.isEmpty())
        return {};
    return qtTrId("search.history.empty").arg(ViewLogic::safeName(m_query.trimmed()));
}

QString HistorySearchModel::searchedText(const ChatMessage& message, const QString& key) const {
    if (message.direction == ChatMessage::Direction::incoming &&
        key.startsWith(QLatin1String("channel:")))
        return ViewLogic::splitChannelSender(message.text).body;
    return message.text;
}

namespace {

// Where the body of a channel message starts when its text names a sender
// (see ViewLogic::splitChannelSender), in its UTF-8; -1 without one.
qsizetype channelBodyStart(QByteArrayView utf8) {
    const qsizetype separator = utf8.indexOf(QByteArrayView(": "));
    if (separator <= 0 || utf8.first(separator).contains('\n'))
        return -1;
    // As many bytes as the longest name has letters: a name for sure.
    // Longer ones are counted as the chat counts them.
    if (separator <= 40)
        return separator + 2;
    return ViewLogic::splitChannelSender(QString::fromUtf8(utf8)).sender.isEmpty() ? -1
                                                                                   : separator + 2;
}

} // namespace

bool HistorySearchModel::matches(const ChatMessage& message, bool channel) {
    // What a query is looked for in: the searched text, and a channel
    // sender's name behind a separator no query holds. Both are folded in
    // UTF-8: a substring of the one form is a substring of the other.
    const QByteArrayView text = message.text.utf8();
    m_folded.clear();
    const qsizetype body = channel && message.direction == ChatMessage::Direction::incoming
                               ? channelBodyStart(text)
                               : -1;
    if (body < 0) {
        m_folder.fold(text, m_folded);
    } else {
        m_folder.fold(text.sliced(body), m_folded);
        m_folded.append('\0');
        m_folder.fold(text.first(body - 2), m_folded);
    }
    return QByteArrayView(m_folded).contains(m_foldedQueryBytes);
}

const Conversation* HistorySearchModel::conversationOf(qint32 conversation) {
    static const Conversation gone;
    const Conversation*& found = m_sliceConversations[conversation];
    if (!found) {
        const auto& conversations = controller()->conversations();
        const auto at = conversations.constFind(m_keys.at(conversation));
        found = at == conversations.cend() ? &gone : &*at;
    }
    return found == &gone ? nullptr : found;
}

void HistorySearchModel::reindex() {
    // Only the conversations are listed here; their messages are taken in
    // slices, so that no step grows with the history.
    m_entries.clear();
    m_keys.clear();
    m_keyIndex.clear();
    m_sliceConversations.clear();
    m_runs.clear();
    m_unsplit.clear();
    m_splitting = 0;
    m_splitRow = 0;
    m_runStart = 0;
    m_merging = false;
    m_indexing = false;
    if (controller()) {
        const auto& conversations = controller()->conversations();
        qsizetype total = 0;
        for (auto it = conversations.cbegin(); it != conversations.cend(); ++it) {
            total += it->messages.size();
            if (!it->messages.isEmpty())
                m_unsplit.append(it.key());
        }
        m_entries.reserve(total);
        m_indexing = !m_unsplit.isEmpty();
    }
    restartSearch();
}

namespace {

qint64 timeOf(const ChatMessage& message) {
    return message.timestamp.toMSecsSinceEpoch();
}

} // namespace

HistorySearchModel::Entry HistorySearchModel::entryFor(const QString& key, qsizetype row,
                                                       const ChatMessage& message) {
    auto index = m_keyIndex.constFind(key);
    if (index == m_keyIndex.cend()) {
        index = m_keyIndex.insert(key, qint32(m_keys.size()));
        m_keys.append(key);
        m_sliceConversations.append(nullptr);
    }
    return {timeOf(message), *index, qint32(row)};
}

void HistorySearchModel::addRun(Run run) {
    const auto newer = [](const Run& a, const Run& b) { return a.time < b.time; };
    m_runs.append(std::move(run));
    if (m_merging)
        std::push_heap(m_runs.begin(), m_runs.end(), newer);
}

void HistorySearchModel::onMessageAppended(const QString& key, int row) {
    const auto conversation = controller()->conversations().constFind(key);
    if (conversation == controller()->conversations().cend() || row < 0 ||
        row >= conversation->messages.size())
        return;
    const ChatMessage& message = conversation->messages.at(row);
    if (m_indexing) {
        // A conversation still to be split takes it with its other rows.
        if (!m_merging && m_unsplit.indexOf(key, m_splitting) >= 0)
            return;
        // Older than the index made so far: it waits for its turn.
        if (m_entries.isEmpty() || timeOf(message) < m_entries.constLast().time) {
            addRun({key, row, row + 1, timeOf(message)});
            return;
        }
    }
    Entry entry = entryFor(key, row, message);
    // Messages come in time order nearly always; a radio's clock may lag.
    const auto at = std::lower_bound(m_entries.cbegin(), m_entries.cend(), entry.time,
                                     [](const Entry& e, qint64 time) { return e.time > time; });
    const qsizetype index = at - m_entries.cbegin();
    const bool folded =
        !m_foldedQuery.isEmpty() && matches(message, key.startsWith(QLatin1String("channel:")));
    m_entries.insert(index, entry);
    if (index > 0) {
        // Somewhere in the middle: the search starts over.
        if (!m_foldedQuery.isEmpty())
            restartSearch();
        return;
    }
    if (m_cursor >= 0)
        ++m_cursor; // the search going back is not disturbed
    if (!m_foldedQuery.isEmpty() && folded && m_results.size() < maxResults) {
        beginInsertRows({}, 0, 0);
        m_results.prepend({key, row, message.id});
        endInsertRows();
        Q_EMIT countChanged();
        Q_EMIT searchingChanged(); // the empty text goes
    }
}

void HistorySearchModel::restartSearch() {
    beginResetModel();
    m_results.clear();
    endResetModel();
    m_cursor = m_foldedQuery.isEmpty() ? -1 : 0;
    setSearching(m_cursor >= 0);
    Q_EMIT countChanged();
    if (m_cursor >= 0 || m_indexing)
        m_work.start();
    else
        m_work.stop();
}

void HistorySearchModel::setSearching(bool searching) {
    // Until the history is in, a query is not done: more is coming.
    if (!m_foldedQuery.isEmpty() && controller() && !controller()->historyLoaded())
        searching = true;
    if (m_searching == searching)
        return;
    m_searching = searching;
    Q_EMIT searchingChanged();
}

void HistorySearchModel::runSlice() {
    QElapsedTimer clock;
    clock.start();
    // The conversations may have changed since the last slice.
    std::fill(m_sliceConversations.begin(), m_sliceConversations.end(), nullptr);
    // Searching goes first: it reads what is indexed, newest first, and
    // makes more of the index when it gets to its end.
    if (m_cursor >= 0)
        searchSome(clock);
    else
        indexSome(clock);
    if (m_cursor < 0 && !m_indexing)
        m_work.stop();
    m_longestSlice =
        std::max(m_longestSlice, std::chrono::microseconds(clock.nsecsElapsed() / 1000));
}

// Splits the conversations into runs of rows in time order (one run for a
// conversation whose clock never went back).
void HistorySearchModel::splitIntoRuns(const QElapsedTimer& clock) {
    const auto budget = std::chrono::nanoseconds(sliceBudget).count();
    const auto& conversations = controller()->conversations();
    int steps = 0;
    while (m_splitting < m_unsplit.size()) {
        const QString& key = m_unsplit.at(m_splitting);
        const auto conversation = conversations.constFind(key);
        const qsizetype size =
            conversation == conversations.cend() ? 0 : conversation->messages.size();
        while (m_splitRow < size) {
            const qint64 time = timeOf(conversation->messages.at(m_splitRow));
            if (m_splitRow > m_runStart && time < m_runTime) {
                addRun({key, m_runStart, m_splitRow, m_runTime});
                m_runStart = m_splitRow;
            }
            m_runTime = time;
            ++m_splitRow;
            if ((++steps & 1023) == 0 && clock.nsecsElapsed() > budget)
                return;
        }
        if (size > m_runStart)
            addRun({key, m_runStart, size, m_runTime});
        ++m_splitting;
        m_splitRow = 0;
        m_runStart = 0;
    }
    const auto newer = [](const Run& a, const Run& b) { return a.time < b.time; };
    std::make_heap(m_runs.begin(), m_runs.end(), newer);
    m_merging = true;
}

// Makes the index further, newest message first, until the slice is used
// up; false when it is complete.
bool HistorySearchModel::indexSome(const QElapsedTimer& clock) {
    if (!controller() || !m_indexing) {
        m_indexing = false;
        return false;
    }
    const auto budget = std::chrono::nanoseconds(sliceBudget).count();
    if (!m_merging) {
        splitIntoRuns(clock);
        if (!m_merging)
            return true;
    }
    const auto newer = [](const Run& a, const Run& b) { return a.time < b.time; };
    const auto& conversations = controller()->conversations();
    int steps = 0;
    while (!m_runs.isEmpty()) {
        std::pop_heap(m_runs.begin(), m_runs.end(), newer);
        Run& run = m_runs.last();
        const auto conversation = conversations.constFind(run.key);
        if (conversation != conversations.cend() && run.end <= conversation->messages.size()) {
            const qsizetype row = run.end - 1;
            m_entries.append(entryFor(run.key, row, conversation->messages.at(row)));
            if (--run.end > run.first) {
                run.time = timeOf(conversation->messages.at(run.end - 1));
                std::push_heap(m_runs.begin(), m_runs.end(), newer);
            } else {
                m_runs.removeLast();
            }
        } else {
            m_runs.removeLast();
        }
        if ((++steps & 63) == 0 && clock.nsecsElapsed() > budget)
            return true;
    }
    m_indexing = false;
    m_merging = false;
    return false;
}

void HistorySearchModel::searchSome(const QElapsedTimer& clock) {
    const auto budget = std::chrono::nanoseconds(sliceBudget).count();
    const qsizetype firstNew = m_results.size();
    QList<Result> found;
    int looked = 0;
    while (firstNew + found.size() < maxResults) {
        if (m_cursor >= m_entries.size()) {
            // At the end of what is indexed: more is made first.
            if (!m_indexing || indexSome(clock))
                break;
            continue;
        }
        const Entry& entry = m_entries.at(m_cursor);
        if (const Conversation* conversation = conversationOf(entry.conversation);
            conversation && entry.row < conversation->messages.size()) {
            const ChatMessage& message = conversation->messages.at(entry.row);
            if (matches(message, conversation->target.isChannel()))
                found.append({m_keys.at(entry.conversation), entry.row, message.id});
        }
        ++m_cursor;
        if ((++looked & 255) == 0 && clock.nsecsElapsed() > budget)
            break;
    }
    if (!found.isEmpty()) {
        beginInsertRows({}, int(firstNew), int(firstNew + found.size() - 1));
        m_results.append(found);
        endInsertRows();
        Q_EMIT countChanged();
    }
    if ((m_cursor >= m_entries.size() && !m_indexing) || m_results.size() >= maxResults) {
        m_cursor = -1;
        setSearching(false);
    }
}

void HistorySearchModel::finishNow() {
    while (m_work.isActive())
        runSlice();
}

const ChatMessage* HistorySearchModel::messageAt(const QString& key, qsizetype row,
                                                 const QUuid& id) const {
    if (!controller())
        return nullptr;
    const auto conversation = controller()->conversations().constFind(key);
    if (conversation == controller()->conversations().cend() || row < 0 ||
        row >= conversation->messages.size())
        return nullptr;
    const ChatMessage& message = conversation->messages.at(row);
    return message.id == id ? &message : nullptr;
}

QString HistorySearchModel::conversationKeyAt(int row) const {
    return row >= 0 && row < m_results.size() ? m_results.at(row).key : QString();
}

QString HistorySearchModel::messageIdAt(int row) const {
    return row >= 0 && row < m_results.size() ? m_results.at(row).id.toString(QUuid::WithoutBraces)
                                              : QString();
}

int HistorySearchModel::rowCount(const QModelIndex& parent) const {
    return parent.isValid() ? 0 : int(m_results.size());
}

QVariant HistorySearchModel::data(const QModelIndex& index, int role) const {
    if (!checkIndex(index, CheckIndexOption::IndexIsValid))
        return {};
    const Result& result = m_results.at(index.row());
    const ChatMessage* message = messageAt(result.key, result.row, result.id);
    if (!message)
        return {};
    const auto target = conversationIDFromKey(result.key);
    const bool outgoing = message->direction == ChatMessage::Direction::outgoing;
    const QString title = target ? controller()->conversationTitle(*target) : QString();
    const auto sender = [&] {
        if (outgoing)
            return qtTrId("search.history.sender.you");
        if (target && target->isChannel())
            return ViewLogic::splitChannelSender(message->text).sender;
        return title;
    };
    const auto excerpt = [&] {
        const QString text = searchedText(*message, result.key);
        const auto match = ViewLogic::findFolded(text, m_foldedQuery, m_locale);
        return ViewLogic::searchExcerpt(text, match.value_or(ViewLogic::SearchMatch{}));
    };
    switch (Role(role)) {
    case ConversationKeyRole:
        return result.key;
    case ConversationTitleRole:
        return ViewLogic::safeName(title);
    case MessageIdRole:
        return result.id.toString(QUuid::WithoutBraces);
    case SenderRole:
        return ViewLogic::safeName(sender());
    case BeforeRole:
        return ViewLogic::safeBody(excerpt().before);
    case MatchRole:
        return ViewLogic::safeBody(excerpt().match);
    case AfterRole:
        return ViewLogic::safeBody(excerpt().after);
    case TimeTextRole:
        return ViewLogic::abbreviatedDate(message->timestamp) + QStringLiteral(" ") +
               ViewLogic::shortTime(message->timestamp);
    case SpokenTextRole: {
        const ViewLogic::SearchExcerpt parts = excerpt();
        return qtTrId("search.history.result.spoken")
            .arg(ViewLogic::safeName(title), ViewLogic::safeName(sender()),
                 ViewLogic::safePreview(parts.before + parts.match + parts.after));
    }
    }
    return {};
}

QHash<int, QByteArray> HistorySearchModel::roleNames() const {
    return {
        {ConversationKeyRole, "conversationKey"},
        {ConversationTitleRole, "conversationTitle"},
        {MessageIdRole, "messageId"},
        {SenderRole, "sender"},
        {BeforeRole, "before"},
        {MatchRole, "match"},
        {AfterRole, "after"},
        {TimeTextRole, "timeText"},
        {SpokenTextRole, "spokenText"},
    };
}
