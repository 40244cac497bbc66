#pragma once

#include "model/device_records.h"
#include "ui/logic/conversation_row.h"

#include <QByteArray>
#include <QHash>
#include <QList>
#include <QLocale>
#include <QSet>
#include <QString>

namespace ViewLogic {

// Whether a contact passes the sidebar search: its name or key contains the
// text as typed, ignoring case in the given locale. An empty search passes all.
bool matchesSearch(const Contact& contact, const QString& search,
                   const QLocale& locale = QLocale());

// Companions and room servers are conversations; every other kind is a node.
bool isConversationContact(const Contact& contact);

// Messages mode: the listed channels in slot order and the chat contacts that
// pass the search, favourites first, then by last advert, newest first; after
// them the conversations with messages whose contact the radio does not know
// (it dropped them, or it is away and its book is lost), newest first, under
// the name `knownNames` gives their key (else the key), with the start of the
// key beside a name that a contact or another such row also goes by.
struct MessagesList {
    QList<ConversationRow> channels; // the channels section, shown when not empty
    QList<ConversationRow> contacts; // the contacts section
    bool showEmptyState = false;     // no contacts at all and no listed channel

    bool operator==(const MessagesList&) const = default;
};

MessagesList messagesList(const QList<Channel>& channels, const QList<Contact>& contacts,
                          const ConversationMap& conversations, const QSet<QString>& favorites,
                          const QString& search, const QLocale& locale = QLocale(),
                          const QHash<QString, QString>& knownNames = {});

// Nodes mode: the other kinds of node that pass the search, favourites in
// their own section, each section by last advert, newest first.
struct NodesList {
    QList<Contact> favorites;    // the favourites section, shown when not empty
    QList<Contact> others;       // the second section
    QByteArray othersTitleKey;   // "sidebar.section.all.nodes" beside favourites, else
                                 // "sidebar.section.nodes"
    bool showEmptyState = false; // no node passed the search

    bool operator==(const NodesList&) const = default;
};

NodesList nodesList(const QList<Contact>& contacts, const QSet<QString>& favorites,
                    const QString& search, const QLocale& locale = QLocale());

// Prompt of the search field by mode.
const char* searchPromptKey(bool nodesMode);

} // namespace ViewLogic
