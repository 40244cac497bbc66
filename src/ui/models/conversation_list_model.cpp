#include "conversation_list_model.h"

#include "controller/mesh_controller.h"
#include "logic/relative_time.h"
#include "logic/safe_text.h"
#include "logic/sidebar_lists.h"
#include "logic/spoken_text.h"

using SidebarRows::ConversationEntry;

ConversationListModel::ConversationListModel(QObject* parent)
    : SidebarListModel(parent)
    , m_now(QDateTime::currentDateTimeUtc()) {}

void ConversationListModel::followRows(MeshController* controller) {
    // Row-level changes are diffed into row signals; only the controller's
    // own resets reset the model.
    const auto sync = [this] { update(); };
    connect(controller, &MeshController::contactInserted, this, sync);
    connect(controller, &MeshController::contactChanged, this, sync);
    connect(controller, &MeshController::contactRemoved, this, sync);
    connect(controller, &MeshController::contactsReordered, this, sync);
    connect(controller, &MeshController::channelInserted, this, sync);
    connect(controller, &MeshController::channelChanged, this, sync);
    connect(controller, &MeshController::channelRemoved, this, sync);
    connect(controller, &MeshController::conversationAdded, this, sync);
    connect(controller, &MeshController::conversationRemoved, this, sync);
    connect(controller, &MeshController::conversationChanged, this, sync);
    connect(controller, &MeshController::messageAppended, this, sync);
    connect(controller, &MeshController::messageChanged, this, sync);
    connect(controller, &MeshController::messageRemoved, this, sync);
    connect(controller, &MeshController::favoritesChanged, this, sync);
    connect(controller, &MeshController::knownNamesChanged, this, sync);
    connect(controller, &MeshController::notificationLevelsChanged, this, sync);
    const auto reset = [this] { rebuild(); };
    connect(controller, &MeshController::contactsReset, this, reset);
    connect(controller, &MeshController::channelsReset, this, reset);
    connect(controller, &MeshController::conversationsReset, this, reset);
}

void ConversationListModel::setNow(const QDateTime& now) {
    if (m_now == now)
        return;
    m_now = now;
    m_rows.changedForRoles({TimeTextRole, SpokenTextRole});
    Q_EMIT nowChanged();
}

void ConversationListModel::applyRows(bool asReset) {
    if (asReset)
        m_rows.reset(computeRows());
    else
        m_rows.sync(computeRows());
}

QList<ConversationEntry> ConversationListModel::computeRows() {
    // While the history is read, the view shows that it comes: no rows
    // without their messages, and never the empty state.
    if (!controller() || !controller()->historyLoaded()) {
        setShowEmptyState(false);
        return {};
    }
    const ViewLogic::MessagesList list = ViewLogic::messagesList(
        controller()->channels(), controller()->contacts(), controller()->conversations(),
        controller()->favorites(), search(), QLocale(), controller()->knownNames());
    setShowEmptyState(list.showEmptyState);
    QList<ConversationEntry> entries;
    const QString channels = qtTrId("sidebar.section.channels");
    const QString contacts = qtTrId("sidebar.section.contacts");
    for (const auto& row : list.channels)
        entries.append({row.id.conversationKey(), channels, row});
    for (const auto& row : list.contacts)
        entries.append({row.id.conversationKey(), contacts, row});
    for (ConversationEntry& entry : entries) {
        entry.row.level = controller()->notificationLevel(entry.row.id);
        entry.row.unreadMentions = controller()->unreadMentionCount(entry.row.id);
    }
    return entries;
}

QVariant ConversationListModel::data(const QModelIndex& index, int role) const {
    if (!checkIndex(index, CheckIndexOption::IndexIsValid))
        return {};
    const ConversationEntry& entry = m_rows.rows().at(index.row());
    const ViewLogic::ConversationRow& row = entry.row;
    switch (role) {
    case KeyRole:
        return entry.key;
    case KindRole:
        return row.id.isChannel() ? QStringLiteral("channel") : QStringLiteral("contact");
    case ContactKeyRole:
        return row.id.isContact() ? row.id.contactKey() : QString();
    case ChannelIndexRole:
        return row.id.isChannel() ? row.id.channelIndex() : -1;
    case SectionRole:
        return entry.section;
    case TitleRole:
        return ViewLogic::safeName(row.title);
    case SubtitleRole:
        return ViewLogic::safePreview(row.subtitle);
    case TimeTextRole:
        return row.hasTime() ? ViewLogic::relativeTime(row.time, m_now) : QString();
    case UnreadRole:
        return qlonglong(row.unread);
    case SeedRole:
        return row.seed;
    case InitialsRole:
        return ViewLogic::safeName(row.initials);
    case SymbolRole:
        return row.symbol.value_or(QString());
    case IsFavoriteRole:
        return row.isFavorite;
    case SpokenTextRole:
        return ViewLogic::conversationRowSpoken(
            row.title, row.subtitle,
            row.hasTime() ? ViewLogic::relativeTime(row.time, m_now) : QString(), row.unread,
            row.isFavorite, row.unreadMentions, row.level);
    case LevelRole:
        return levelName(row.level);
    case LevelSymbolRole:
        return row.levelSymbol();
    case LevelTextRole:
        return ViewLogic::notificationLevelText(row.level);
    case UnreadQuietRole:
        return row.isUnreadQuiet();
    case UnreadMentionRole:
        return row.unread > 0 && row.unreadMentions > 0;
    }
    return {};
}

QHash<int, QByteArray> ConversationListModel::roleNames() const {
    return {
        {KeyRole, "key"},
        {KindRole, "kind"},
        {ContactKeyRole, "contactKey"},
        {ChannelIndexRole, "channelIndex"},
        {SectionRole, "section"},
        {TitleRole, "title"},
        {SubtitleRole, "subtitle"},
        {TimeTextRole, "timeText"},
        {SpokenTextRole, "spokenText"},
        {UnreadRole, "unread"},
        {SeedRole, "seed"},
        {InitialsRole, "initials"},
        {SymbolRole, "symbol"},
        {IsFavoriteRole, "isFavorite"},
        {LevelRole, "level"},
        {LevelSymbolRole, "levelSymbol"},
        {LevelTextRole, "levelText"},
        {UnreadQuietRole, "unreadQuiet"},
        {UnreadMentionRole, "unreadMention"},
    };
}
