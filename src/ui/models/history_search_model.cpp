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
    reindex();
}

void HistorySearchModel::setQuery(const QString& query) {
    if (m_query == query)
        return;
    m_query = query;
    m_foldedQuery = ViewLogic::foldForSearch(query.trimmed(), m_locale).remove(QChar(0));
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

QString HistorySearchModel::foldedEntry(const ChatMessage& message, const QString& key) const {
    QString folded = ViewLogic::foldForSearch(searchedText(message, key), m_locale);
    if (message.direction == ChatMessage::Direction::incoming &&
        key.startsWith(QLatin1String("channel:"))) {
        const QString sender = ViewLogic::splitChannelSender(message.text).sender;
        if (!sender.isEmpty())
            folded += QChar(0) + ViewLogic::foldForSearch(sender, m_locale);
    }
    return folded;
}

void HistorySearchModel::reindex() {
    m_entries.clear();
    m_indexed = 0;
    if (controller()) {
        const auto& conversations = controller()->conversations();
        qsizetype total = 0;
        for (const Conversation& conversation : conversations)
            total += conversation.messages.size();
        m_entries.reserve(total);
        for (auto it = conversations.cbegin(); it != conversations.cend(); ++it) {
            const QString& key = it.key();
            for (const ChatMessage& message : it->messages)
                m_entries.append({key, message.id, message.timestamp.toMSecsSinceEpoch(), {}});
        }
        std::stable_sort(m_entries.begin(), m_entries.end(),
                         [](const Entry& a, const Entry& b) { return a.time < b.time; });
    }
    restartSearch();
}

void HistorySearchModel::onMessageAppended(const QString& key, int row) {
    const auto conversation = controller()->conversations().constFind(key);
    if (conversation == controller()->conversations().cend() || row < 0 ||
        row >= conversation->messages.size())
        return;
    const ChatMessage& message = conversation->messages.at(row);
    Entry entry{key, message.id, message.timestamp.toMSecsSinceEpoch(), foldedEntry(message, key)};
    // Messages come in time order nearly always; a radio's clock may lag.
    auto at = std::upper_bound(m_entries.begin(), m_entries.end(), entry.time,
                               [](qint64 time, const Entry& e) { return time < e.time; });
    const qsizetype index = at - m_entries.begin();
    const bool newest = index == m_entries.size();
    m_entries.insert(index, entry);
    if (!newest || m_indexed < m_entries.size() - 1) {
        // Somewhere in the middle, or the index is still being made: start over.
        m_indexed = std::min(m_indexed, m_entries.size() - 1 - index);
        if (!m_foldedQuery.isEmpty())
            restartSearch();
        return;
    }
    ++m_indexed;
    if (m_cursor >= 0)
        ++m_cursor; // the search going back is not disturbed
    if (!m_foldedQuery.isEmpty() && entry.folded.contains(m_foldedQuery) &&
        m_results.size() < maxResults) {
        beginInsertRows({}, 0, 0);
        m_results.prepend({key, message.id});
        endInsertRows();
        Q_EMIT countChanged();
        Q_EMIT searchingChanged(); // the empty text goes
    }
}

void HistorySearchModel::restartSearch() {
    beginResetModel();
    m_results.clear();
    endResetModel();
    m_cursor = m_foldedQuery.isEmpty() ? -1 : m_entries.size() - 1;
    setSearching(m_cursor >= 0);
    Q_EMIT countChanged();
    if (m_cursor >= 0 || m_indexed < m_entries.size())
        m_work.start();
    else
        m_work.stop();
}

void HistorySearchModel::setSearching(bool searching) {
    if (m_searching == searching)
        return;
    m_searching = searching;
    Q_EMIT searchingChanged();
}

void HistorySearchModel::runSlice() {
    QElapsedTimer clock;
    clock.start();
    // Searching goes first: it reads the newest entries, which are folded
    // first, and folds what it needs on its way.
    if (m_cursor >= 0)
        searchSome(clock);
    else if (!indexSome(clock))
        m_work.stop();
    if (m_cursor < 0 && m_indexed >= m_entries.size())
        m_work.stop();
    m_longestSlice =
        std::max(m_longestSlice, std::chrono::microseconds(clock.nsecsElapsed() / 1000));
}

// Folds entries from the newest down until the slice is used up; false when
// all are folded.
bool HistorySearchModel::indexSome(const QElapsedTimer& clock) {
    if (!controller())
        return false;
    const auto budget = std::chrono::nanoseconds(sliceBudget).count();
    const auto& conversations = controller()->conversations();
    while (m_indexed < m_entries.size()) {
        Entry& entry = m_entries[m_entries.size() - 1 - m_indexed];
        const auto conversation = conversations.constFind(entry.key);
        if (conversation != conversations.cend()) {
            for (const ChatMessage& message : conversation->messages) {
                if (message.id == entry.id) {
                    entry.folded = foldedEntry(message, entry.key);
                    break;
                }
            }
        }
        ++m_indexed;
        if ((m_indexed & 63) == 0 && clock.nsecsElapsed() > budget)
            return true;
    }
    return false;
}

void HistorySearchModel::searchSome(const QElapsedTimer& clock) {
    const auto budget = std::chrono::nanoseconds(sliceBudget).count();
    const qsizetype firstNew = m_results.size();
    QList<Result> found;
    int looked = 0;
    while (m_cursor >= 0 && firstNew + found.size() < maxResults) {
        const qsizetype fromNewest = m_entries.size() - 1 - m_cursor;
        if (fromNewest >= m_indexed) {
            // Not folded yet: fold from here on first.
            if (indexSome(clock))
                break;
            continue;
        }
        const Entry& entry = m_entries.at(m_cursor);
        if (entry.folded.contains(m_foldedQuery))
            found.append({entry.key, entry.id});
        --m_cursor;
        if ((++looked & 255) == 0 && clock.nsecsElapsed() > budget)
            break;
    }
    if (!found.isEmpty()) {
        beginInsertRows({}, int(firstNew), int(firstNew + found.size() - 1));
        m_results.append(found);
        endInsertRows();
        Q_EMIT countChanged();
    }
    if (m_cursor < 0 || m_results.size() >= maxResults) {
        m_cursor = -1;
        setSearching(false);
    }
}

void HistorySearchModel::finishNow() {
    while (m_work.isActive())
        runSlice();
}

const ChatMessage* HistorySearchModel::messageOf(const Result& result) const {
    if (!controller())
        return nullptr;
    const auto conversation = controller()->conversations().constFind(result.key);
    if (conversation == controller()->conversations().cend())
        return nullptr;
    for (const ChatMessage& message : conversation->messages) {
        if (message.id == result.id)
            return &message;
    }
    return nullptr;
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
    const ChatMessage* message = messageOf(result);
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
