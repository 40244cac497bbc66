#pragma once

// The node book of the radio in use, and whether it stands in for a radio
// that is away.

#include "time/clock.h"

#include <QHash>
#include <QString>

class NodeBookStore;

struct NodeBookState {
    NodeBookStore* store = nullptr; // none: nothing is kept
    // The public key of the radio whose book is in use; empty when none.
    QString radioKey;
    bool radioAway = false;
    // Why the book could not be read or written, or empty.
    QString error;
    // The last name any book gives a contact key.
    QHash<QString, QString> knownNames;
    Clock::TimerId writeTimer = 0; // 0 when no write waits

    // A radio's book is kept.
    bool keeps() const { return store && !radioKey.isEmpty(); }
};
