#include "ui/logic/sidebar_lists.h"

#include <algorithm>

namespace ViewLogic {

namespace {

constexpr qsizetype keyPrefixLength = 12;

bool newerAdvert(const Contact& a, const Contact& b) {
    return a.lastAdvert > b.lastAdvert;
}

} // namespace

bool matchesSearch(const Contact& contact, const QString& search, const QLocale& locale) {
    if (search.isEmpty())
        return true;
    const QString needle = locale.toLower(search);
    return locale.toLower(contact.name).contains(needle) ||
           locale.toLower(contact.publicKey).contains(needle);
}

bool isConversationContact(const Contact& contact) {
    return contact.type == MeshProtocol::AdvertType::chat ||
           contact.type == MeshProtocol::AdvertType::room;
}

MessagesList messagesList(const QList<Channel>& channels, const QList<Contact>& contacts,
                          const ConversationMap& conversations, const QSet<QString>& favorites,
                          const QString& search, const QLocale& locale,
                          const QHash<QString, QString>& knownNames) {
    MessagesList list;
    for (const Channel& channel : channels) {
        if (isChannelListed(channel))
            list.channels.append(channelRow(
                channel, findConversation(conversations, ConversationID::channel(channel.index))));
    }

    QList<Contact> chats;
    for (const Contact& contact : contacts) {
        if (isConversationContact(contact) && matchesSearch(contact, search, locale))
            chats.append(contact);
    }
    std::stable_sort(chats.begin(), chats.end(), [&](const Contact& a, const Contact& b) {
        const bool aFavorite = favorites.contains(a.publicKey);
        const bool bFavorite = favorites.contains(b.publicKey);
        if (aFavorite != bFavorite)
            return aFavorite;
        return newerAdvert(a, b);
    });
    for (const Contact& contact : std::as_const(chats)) {
        list.contacts.append(contactRow(
            contact, findConversation(conversations, ConversationID::contact(contact.publicKey)),
            favorites.contains(contact.publicKey)));
    }

    QSet<QString> listed;
    for (const Contact& contact : contacts)
        listed.insert(contact.publicKey);
    QList<const Conversation*> unlisted;
    for (const Conversation& conversation : conversations) {
        if (conversation.target.isContact() && !conversation.messages.isEmpty() &&
            !listed.contains(conversation.target.contactKey()))
            unlisted.append(&conversation);
    }
    std::sort(unlisted.begin(), unlisted.end(), [](const Conversation* a, const Conversation* b) {
        if (a->lastActivity != b->lastActivity)
            return a->lastActivity > b->lastActivity;
        return a->target.contactKey() < b->target.contactKey();
    });
    // A book's name that a contact of the radio, or another such
    // conversation, also goes by gets the key beside it: two rows that read
    // alike would be two people the user cannot tell apart.
    QHash<QString, int> nameUses;
    const auto sameName = [](const QString& name) { return name.simplified().toCaseFolded(); };
    for (const Contact& contact : contacts)
        ++nameUses[sameName(contact.name)];
    for (const Conversation* conversation : std::as_const(unlisted))
        ++nameUses[sameName(knownNames.value(conversation->target.contactKey()))];
    for (const Conversation* conversation : std::as_const(unlisted)) {
        Contact known;
        known.publicKey = conversation->target.contactKey();
        known.name = knownNames.value(known.publicKey);
        known.type = MeshProtocol::AdvertType::chat;
        if (!matchesSearch(known, search, locale))
            continue;
        ConversationRow row = contactRow(known, conversation, favorites.contains(known.publicKey));
        if (!known.name.isEmpty() && nameUses.value(sameName(known.name)) > 1)
            row.title = qtTrId("sidebar.row.name.and.key")
                            .arg(row.title, known.publicKey.left(keyPrefixLength));
        list.contacts.append(row);
    }

    // The search never causes the empty state: it is about having nothing at all.
    list.showEmptyState = contacts.isEmpty() && list.channels.isEmpty() && unlisted.isEmpty();
    return list;
}

NodesList nodesList(const QList<Contact>& contacts, const QSet<QString>& favorites,
                    const QString& search, const QLocale& locale) {
    NodesList list;
    for (const Contact& contact : contacts) {
        if (isConversationContact(contact) || !matchesSearch(contact, search, locale))
            continue;
        (favorites.contains(contact.publicKey) ? list.favorites : list.others).append(contact);
    }
    std::stable_sort(list.favorites.begin(), list.favorites.end(), newerAdvert);
    std::stable_sort(list.others.begin(), list.others.end(), newerAdvert);
    list.othersTitleKey = list.favorites.isEmpty() ? QByteArray("sidebar.section.nodes")
                                                   : QByteArray("sidebar.section.all.nodes");
    list.showEmptyState = list.favorites.isEmpty() && list.others.isEmpty();
    return list;
}

const char* searchPromptKey(bool nodesMode) {
    return nodesMode ? "sidebar.search.nodes" : "sidebar.search.conversations";
}

} // namespace ViewLogic
