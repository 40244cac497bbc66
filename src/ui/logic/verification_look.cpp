#include "ui/logic/verification_look.h"

namespace ViewLogic {

VerificationLook verificationLook(KeyVerification state) {
    VerificationLook look;
    switch (state) {
    case KeyVerification::verified:
        look.symbol = QStringLiteral("checkmark.seal.fill");
        look.tint = Tint::green;
        look.titleKey = "inspector.chat.info.verified";
        look.messageKey = "inspector.chat.info.verified.message";
        look.helpKey = "chat.verify.verified.help";
        look.menuItemKey = "chat.verify.remove";
        look.buttonKey = "inspector.chat.info.unverify";
        look.actionSymbol = QStringLiteral("seal.slash");
        look.actionClears = true;
        look.buttonTint = Tint::red;
        break;
    case KeyVerification::conflict:
        look.symbol = QStringLiteral("exclamationmark.shield.fill");
        look.tint = Tint::red;
        look.titleKey = "inspector.chat.info.mismatch";
        look.messageKey = "inspector.chat.info.mismatch.message";
        look.buttonTint = Tint::red;
        break;
    case KeyVerification::unverified:
        look.symbol = QStringLiteral("shield.lefthalf.filled");
        look.tint = Tint::secondary;
        look.titleKey = "inspector.chat.info.not.verified";
        look.messageKey = "inspector.chat.info.not.verified.message";
        look.buttonTint = Tint::accent;
        break;
    }
    look.keySymbol =
        state == KeyVerification::unverified ? QStringLiteral("key.fill") : look.symbol;
    if (!look.actionClears) {
        look.helpKey = "chat.verify.unverified.help";
        look.menuItemKey = "chat.verify.mark";
        look.buttonKey = "inspector.chat.info.verify";
        look.actionSymbol = QStringLiteral("checkmark.seal");
    }
    return look;
}

} // namespace ViewLogic
