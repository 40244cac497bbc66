#include "ui/logic/composer.h"

#include "text/graphemes.h"

namespace ViewLogic {

QString limitDraft(const QString& draft) {
    // Cheap exit: fewer UTF-16 units than the limit means fewer characters.
    if (draft.size() <= composerLimit || Text::graphemeCount(draft) <= composerLimit)
        return draft;
    return Text::leftGraphemes(draft, composerLimit);
}

QString composerCounterText(const QString& draft) {
    return QStringLiteral("%1/%2").arg(Text::graphemeCount(draft)).arg(composerLimit);
}

Tint composerCounterTint(const QString& draft) {
    const qsizetype remaining = composerLimit - Text::graphemeCount(draft);
    if (remaining > 20)
        return Tint::secondary;
    if (remaining >= 1)
        return Tint::orange;
    return Tint::red;
}

bool composerAtLimit(const QString& draft) {
    return Text::graphemeCount(draft) >= composerLimit;
}

bool canSend(const QString& draft, bool connected) {
    const QString trimmed = draft.trimmed();
    return connected && !trimmed.isEmpty() && Text::graphemeCount(trimmed) < composerLimit + 1;
}

} // namespace ViewLogic
