#include "controller/notification_levels.h"

#include "protocol/mesh_protocol.h"

#include <QCryptographicHash>
#include <QJsonDocument>
#include <QJsonObject>
#include <QSettings>

namespace {

constexpr qsizetype secretDigestBytes = 8;

QJsonObject objectAt(QSettings* settings, const char* key) {
    const QJsonDocument document =
        QJsonDocument::fromJson(settings->value(QLatin1String(key)).toByteArray());
    return document.isObject() ? document.object() : QJsonObject();
}

} // namespace

bool notifies(NotificationLevel level, bool mentionsMe) {
    switch (level) {
    case NotificationLevel::all:
        return true;
    case NotificationLevel::mentions:
        return mentionsMe;
    case NotificationLevel::nothing:
        break;
    }
    return false;
}

bool countsInBadge(NotificationLevel level) {
    return level != NotificationLevel::nothing;
}

QString levelName(NotificationLevel level) {
    switch (level) {
    case NotificationLevel::all:
        break;
    case NotificationLevel::mentions:
        return QStringLiteral("mentions");
    case NotificationLevel::nothing:
        return QStringLiteral("nothing");
    }
    return QStringLiteral("all");
}

std::optional<NotificationLevel> levelFromName(const QString& name) {
    for (const auto level :
         {NotificationLevel::all, NotificationLevel::mentions, NotificationLevel::nothing}) {
        if (levelName(level) == name)
            return level;
    }
    return std::nullopt;
}

QString NotificationLevels::contactIdentity(const QString& publicKey) {
    return QStringLiteral("contact:") + publicKey;
}

QString NotificationLevels::channelIdentity(const Channel& channel) {
    const QByteArray secret =
        MeshProtocol::bytesFromHex(channel.secretHex).value_or(channel.secretHex.toUtf8());
    const QByteArray digest = QCryptographicHash::hash(secret, QCryptographicHash::Sha256);
    return QStringLiteral("channel:") +
           QString::fromLatin1(digest.first(secretDigestBytes).toHex()) + u':' + channel.name;
}

void NotificationLevels::load(QSettings* settings) {
    m_entries.clear();
    m_slots.clear();
    if (!settings)
        return;
    const QJsonObject levels = objectAt(settings, levelsKey);
    for (auto it = levels.begin(); it != levels.end(); ++it) {
        const QJsonObject stored = it.value().toObject();
        const auto level = levelFromName(stored.value(QLatin1String("level")).toString());
        if (!level)
            continue;
        Entry entry{*level, levelFromName(stored.value(QLatin1String("unmuted")).toString())};
        if (entry.level != NotificationLevel::nothing)
            entry.unmuted.reset();
        if (entry != Entry{})
            m_entries.insert(it.key(), entry);
    }
    const QJsonObject slotMap = objectAt(settings, slotsKey);
    for (auto it = slotMap.begin(); it != slotMap.end(); ++it) {
        bool ok = false;
        const int index = it.key().toInt(&ok);
        if (ok && index >= 0 && it.value().isString())
            m_slots.insert(index, it.value().toString());
    }
}

QString NotificationLevels::identityOf(const ConversationID& target) const {
    if (target.isContact())
        return contactIdentity(target.contactKey());
    return m_slots.value(target.channelIndex());
}

NotificationLevel NotificationLevels::level(const ConversationID& target) const {
    return levelOfIdentity(identityOf(target));
}

NotificationLevel NotificationLevels::levelOfIdentity(const QString& identity) const {
    if (identity.isEmpty())
        return NotificationLevel::all;
    return entryOf(identity).level;
}

bool NotificationLevels::setLevel(const ConversationID& target, NotificationLevel level,
                                  QSettings* settings) {
    return store(identityOf(target), Entry{level, std::nullopt}, settings);
}

bool NotificationLevels::toggleMute(const ConversationID& target, QSettings* settings) {
    const QString identity = identityOf(target);
    const Entry entry = entryOf(identity);
    if (entry.level == NotificationLevel::nothing)
        return store(identity, Entry{entry.unmuted.value_or(NotificationLevel::all), {}}, settings);
    return store(identity, Entry{NotificationLevel::nothing, entry.level}, settings);
}

NotificationLevels::Entry NotificationLevels::entryOf(const QString& identity) const {
    const auto found = m_entries.constFind(identity);
    return found == m_entries.cend() ? Entry{} : *found;
}

bool NotificationLevels::store(const QString& identity, Entry entry, QSettings* settings) {
    if (identity.isEmpty() || entryOf(identity) == entry)
        return false;
    if (entry == Entry{})
        m_entries.remove(identity);
    else
        m_entries.insert(identity, entry);
    saveLevels(settings);
    return true;
}

bool NotificationLevels::noteSlot(int index, const QString& identity, QSettings* settings) {
    if (m_slots.value(index) == identity)
        return false;
    if (identity.isEmpty())
        m_slots.remove(index);
    else
        m_slots.insert(index, identity);
    saveSlots(settings);
    return true;
}

QList<QString> NotificationLevels::silencedConversationKeys() const {
    QList<QString> keys;
    for (auto it = m_entries.cbegin(); it != m_entries.cend(); ++it) {
        if (it->level == NotificationLevel::nothing && it.key().startsWith(u"contact:"))
            keys.append(it.key()); // a contact's identity is its conversation key
    }
    for (auto it = m_slots.cbegin(); it != m_slots.cend(); ++it) {
        if (levelOfIdentity(it.value()) == NotificationLevel::nothing)
            keys.append(ConversationID::channel(it.key()).conversationKey());
    }
    return keys;
}

void NotificationLevels::saveLevels(QSettings* settings) const {
    if (!settings)
        return;
    QJsonObject levels;
    for (auto it = m_entries.cbegin(); it != m_entries.cend(); ++it) {
        QJsonObject stored{{QLatin1String("level"), levelName(it->level)}};
        if (it->unmuted)
            stored.insert(QLatin1String("unmuted"), levelName(*it->unmuted));
        levels.insert(it.key(), stored);
    }
    settings->setValue(QLatin1String(levelsKey),
                       QJsonDocument(levels).toJson(QJsonDocument::Compact));
}

void NotificationLevels::saveSlots(QSettings* settings) const {
    if (!settings)
        return;
    QJsonObject slotMap;
    for (auto it = m_slots.cbegin(); it != m_slots.cend(); ++it)
        slotMap.insert(QString::number(it.key()), it.value());
    settings->setValue(QLatin1String(slotsKey),
                       QJsonDocument(slotMap).toJson(QJsonDocument::Compact));
}
