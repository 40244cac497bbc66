#include "look.h"

#include "icon_names.h"
#include "logic/avatar_gradient.h"
#include "logic/channel_sender.h"
#include "logic/signal_bars.h"

#include <QKeySequence>
#include <QMetaEnum>

QString Look::iconSource(const QString& symbol) const {
    return ::iconSource(symbol);
}

QVariantList Look::avatarColors(const QString& seed) const {
    const auto gradient = ViewLogic::avatarGradient(seed);
    return {gradient.first, gradient.second};
}

int Look::signalBars(int rssi) const {
    return ViewLogic::signalLevel(rssi).litBars;
}

QString Look::signalTint(int rssi) const {
    return tintName(ViewLogic::signalLevel(rssi).tint);
}

QString Look::tintName(ViewLogic::Tint tint) {
    return QString::fromLatin1(QMetaEnum::fromType<ViewLogic::Tint>().valueToKey(int(tint)));
}

int Look::signalBarHeight(int bar) const {
    return ViewLogic::signalBarHeight(bar);
}

QColor Look::senderColor(const QString& name) const {
    return ViewLogic::senderColor(name);
}

QString Look::senderBadgeText(const QString& name) const {
    return ViewLogic::senderBadgeText(name);
}

QString Look::shortcutText(const QVariant& shortcut) const {
    QKeySequence sequence;
    if (shortcut.typeId() == QMetaType::QString)
        sequence = QKeySequence::fromString(shortcut.toString(), QKeySequence::PortableText);
    else if (shortcut.typeId() == QMetaType::QKeySequence)
        sequence = shortcut.value<QKeySequence>();
    else if (shortcut.isValid())
        sequence = QKeySequence(QKeySequence::StandardKey(shortcut.toInt())); // a standard key
    return sequence.toString(QKeySequence::NativeText);
}
