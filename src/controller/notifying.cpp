// Which messages notify and count in the launcher badge: the level of each
// conversation, and the unread messages that mention the radio's own name.

#include "controller/mesh_controller.h"
#include "notifications/notifier.h"
#include "text/mentions.h"

#include <QSettings>
#include <limits>

void MeshController::loadNotificationLevels() {
    m_levels.load(m_settings);
    m_silencedKeys = m_levels.silencedConversationKeys();
}

NotificationLevel MeshController::notificationLevel(const ConversationID& target) const {
    return m_levels.level(target);
}

bool MeshController::setNotificationLevel(const ConversationID& target, NotificationLevel level) {
    if (!m_levels.setLevel(target, level, m_settings))
        return false;
    levelsChanged();
    return true;
}

bool MeshController::toggleMute(const ConversationID& target) {
    if (!m_levels.toggleMute(target, m_settings))
        return false;
    levelsChanged();
    return true;
}

QString MeshController::notificationLevelOf(const QString& conversationKey) const {
    const auto target = ConversationID::fromKey(conversationKey);
    return levelName(target ? notificationLevel(*target) : NotificationLevel::all);
}

bool MeshController::setNotificationLevelOf(const QString& conversationKey, const QString& level) {
    const auto target = ConversationID::fromKey(conversationKey);
    const auto value = levelFromName(level);
    return target && value && setNotificationLevel(*target, *value);
}

bool MeshController::toggleMuteOf(const QString& conversationKey) {
    const auto target = ConversationID::fromKey(conversationKey);
    return target && toggleMute(*target);
}

// A slot read from the radio holds this channel now (none: it is free).
void MeshController::noteChannelSlot(int index, const QString& identity) {
    if (m_levels.noteSlot(index, identity, m_settings))
        levelsChanged();
}

void MeshController::levelsChanged() {
    m_silencedKeys = m_levels.silencedConversationKeys();
    if (refreshBadgeCount())
        updateBadge();
    Q_EMIT notificationLevelsChanged();
}

// The total less the silenced conversations: a look-up for each of those,
// however many conversations there are.
bool MeshController::refreshBadgeCount() {
    qint64 silenced = 0;
    for (const QString& key : std::as_const(m_silencedKeys)) {
        const auto found = m_conversations.constFind(key);
        if (found != m_conversations.cend() && found->unreadCount > 0 &&
            qAddOverflow(silenced, qint64(found->unreadCount), &silenced))
            silenced = std::numeric_limits<qint64>::max();
    }
    const qint64 badge = std::max<qint64>(0, m_totalUnreadCount - silenced);
    return assign(m_badgeCount, badge, &MeshController::badgeCountChanged);
}

bool MeshController::mentionsMe(const QString& text) const {
    return Text::mentionsName(text, m_ownName);
}

qint64 MeshController::unreadMentionCount(const ConversationID& target) const {
    return m_unreadMentions.value(target.conversationKey());
}

void MeshController::setOwnName(const QString& name) {
    if (!assign(m_ownName, name, &MeshController::ownNameChanged))
        return;
    recountUnreadMentions();
}

// The unread messages are the newest incoming ones, as many as the count
// says; each conversation whose number of mentions among them changed is
// reported changed.
void MeshController::recountUnreadMentions() {
    QHash<QString, qint64> counted;
    if (!m_ownName.isEmpty()) {
        for (auto it = m_conversations.cbegin(); it != m_conversations.cend(); ++it) {
            qint64 left = it->unreadCount;
            qint64 mentions = 0;
            for (auto m = it->messages.crbegin(); m != it->messages.crend() && left > 0; ++m) {
                if (m->direction != ChatMessage::Direction::incoming)
                    continue;
                --left;
                if (mentionsMe(m->text))
                    ++mentions;
            }
            if (mentions > 0)
                counted.insert(it.key(), mentions);
        }
    }
    if (counted == m_unreadMentions)
        return;
    QSet<QString> keys(counted.keyBegin(), counted.keyEnd());
    for (auto it = m_unreadMentions.keyBegin(); it != m_unreadMentions.keyEnd(); ++it)
        keys.insert(*it);
    std::swap(m_unreadMentions, counted);
    for (const QString& key : std::as_const(keys)) {
        if (m_unreadMentions.value(key) != counted.value(key))
            Q_EMIT conversationChanged(key);
    }
    Q_EMIT conversationsChanged();
}
