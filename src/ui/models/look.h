#pragma once

#include "logic/tint.h"

#include <QColor>
#include <QObject>
#include <QString>
#include <QVariantList>
#include <QtQml/qqml.h>

// The small lookups every view needs: icon files by symbol name, avatar
// gradients, signal bars and sender colours.
class Look : public QObject {
    Q_OBJECT
    QML_ELEMENT
    QML_SINGLETON
public:
    using QObject::QObject;

    // "qrc:/icons/<file>.svg" for a symbol name such as "paperplane".
    Q_INVOKABLE QString iconSource(const QString& symbol) const;
    // An action's shortcut (a standard key or a sequence like "Ctrl+1") as
    // a menu shows it.
    Q_INVOKABLE QString shortcutText(const QVariant& shortcut) const;
    // The two colours of the avatar gradient of a seed.
    Q_INVOKABLE QVariantList avatarColors(const QString& seed) const;
    // How many of the four bars are lit for a signal strength in dBm.
    Q_INVOKABLE int signalBars(int rssi) const;
    // The tint of the lit bars, as a name for Theme.tint().
    Q_INVOKABLE QString signalTint(int rssi) const;
    // The name of a tint for Theme.tint(): "primary", "green", ...
    static QString tintName(ViewLogic::Tint tint);
    Q_INVOKABLE int signalBarHeight(int bar) const;
    Q_INVOKABLE QColor senderColor(const QString& name) const;
    Q_INVOKABLE QString senderBadgeText(const QString& name) const;
};
