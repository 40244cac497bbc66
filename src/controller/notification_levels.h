#pragma once

#include "model/conversation.h"
#include "model/device_records.h"

#include <QHash>
#include <QString>
#include <optional>

class QSettings;

// How loudly a conversation tells of new messages.
enum class NotificationLevel {
    all,      // every message notifies and counts in the launcher badge
    mentions, // only messages that mention the radio's own name notify
    nothing,  // nothing notifies; the unread count stays out of the badge
};

// Whether a message notifies, and whether a conversation's unread messages
// count in the launcher badge.
bool notifies(NotificationLevel level, bool mentionsMe);
bool countsInBadge(NotificationLevel level);

// "all", "mentions", "nothing" and back; an unknown name gives none.
QString levelName(NotificationLevel level);
std::optional<NotificationLevel> levelFromName(const QString& name);

// The user's notification level of each conversation, kept in the settings
// under an identity that outlives the radio's slots: a contact by its key,
// a channel by its name and a digest of its secret. So a channel removed
// and added again in another slot keeps its level, and another channel that
// takes its old slot does not inherit it.
//
// Slots are mapped to the identity of the channel last read in them, and
// that map is kept too: before the radio has been read again (at start,
// while it is away) its conversations still know their level.
class NotificationLevels {
public:
    static constexpr auto levelsKey = "notificationLevels";
    static constexpr auto slotsKey = "notificationLevelSlots";

    // "contact:<key>".
    static QString contactIdentity(const QString& publicKey);
    // "channel:<digest>:<name>": the first 8 bytes of the SHA-256 of the
    // secret's bytes as hex (the secret itself is not kept), then the name
    // as the radio holds it.
    static QString channelIdentity(const Channel& channel);

    // Reads both maps; anything unreadable leaves them empty.
    void load(QSettings* settings);

    // The identity a conversation's level is kept under; empty for a
    // channel slot whose channel has never been read.
    QString identityOf(const ConversationID& target) const;
    NotificationLevel level(const ConversationID& target) const;
    NotificationLevel levelOfIdentity(const QString& identity) const;

    // Each returns whether anything changed, and saves when it did. A target
    // without an identity is left alone.
    bool setLevel(const ConversationID& target, NotificationLevel level, QSettings* settings);
    // Nothing, or back from Nothing to the level set before (All when none was).
    bool toggleMute(const ConversationID& target, QSettings* settings);
    // The channel read in a slot; an empty identity frees the slot.
    bool noteSlot(int index, const QString& identity, QSettings* settings);

    // The conversation keys whose level is Nothing.
    QList<QString> silencedConversationKeys() const;

private:
    struct Entry {
        NotificationLevel level = NotificationLevel::all;
        // Set while muted by the toggle: the level it goes back to.
        std::optional<NotificationLevel> unmuted;

        bool operator==(const Entry&) const = default;
    };

    Entry entryOf(const QString& identity) const;
    bool store(const QString& identity, Entry entry, QSettings* settings);
    void saveLevels(QSettings* settings) const;
    void saveSlots(QSettings* settings) const;

    QHash<QString, Entry> m_entries; // by identity; never an entry of plain All
    QHash<int, QString> m_slots;     // slot index -> identity of its channel
};
