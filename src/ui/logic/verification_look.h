#pragma once

#include "model/key_verification.h"
#include "ui/logic/tint.h"

#include <QByteArray>
#include <QString>

namespace ViewLogic {

// How a state of key verification is drawn and named wherever it shows: the
// chat header's menu button beside the start of the key, and the
// verification card of the node's details and the chat info pane.
struct VerificationLook {
    QString symbol; // the state, in the card
    // Beside the start of the key in the chat header: the state's symbol,
    // except that a key nobody has vouched for shows as a plain key.
    QString keySymbol;
    Tint tint = Tint::secondary;
    QByteArray titleKey; // the card's title and message
    QByteArray messageKey;
    QByteArray helpKey;        // the header button's hover help
    QByteArray menuItemKey;    // the header menu's one item
    QByteArray buttonKey;      // the card's button
    QString actionSymbol;      // of that item and that button
    bool actionClears = false; // the action removes the verification (destructive)
    Tint buttonTint = Tint::accent;

    bool operator==(const VerificationLook&) const = default;
};

VerificationLook verificationLook(KeyVerification state);

} // namespace ViewLogic
