#pragma once

#include <QString>
#include <QStringList>

// The bundled icon for a system symbol name ("paperplane",
// "checkmark.seal.fill"), as a URL for QML ("qrc:/icons/send.svg"); empty
// for a name without an icon.
QString iconSource(const QString& symbolName);
// The same icon as a resource path for C++ (":/icons/send.svg").
QString iconResourcePath(const QString& symbolName);
// Every symbol name that has an icon.
QStringList iconSymbolNames();
