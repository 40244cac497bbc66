#pragma once

// Which connection to the radio is the present one and how far its handshake
// has come: the coroutines that wait across a disconnect check it.

#include "protocol/mesh_event.h"

#include <QList>
#include <QSet>
#include <QString>
#include <cstdint>

struct SyncProgress {
    // Changes with every connection and every disconnect: a handshake or a
    // sync that finds it changed after a wait belongs to a link that is gone.
    std::uint64_t connection = 0;
    // The connection whose handshake set isSyncing.
    std::uint64_t syncingConnection = 0;
    // The connection whose handshake has not come to its message drain yet.
    std::uint64_t beforeDrain = 0;
    // Contact list reads under way, the keys they have brought, and the
    // messages from senders missing from the list that wait for them to end.
    int contactListReads = 0;
    QSet<QString> contactKeysRead;
    QList<MeshEvent> messagesWaitingForContacts;

    // The handshake under way has not read the waiting messages yet, and will.
    bool handshakeReadsTheQueue() const { return beforeDrain != 0 && beforeDrain == connection; }
};
