#pragma once

#include <QByteArrayList>
#include <QLocale>

class QCoreApplication;

// Installs the compiled English string table and, on top of it, the table of
// the first of the locale's interface languages that has one (German, for
// now). False when the English table is missing or unreadable.
bool installTranslations(QCoreApplication& app, const QLocale& locale = QLocale());

// Where the compiled tables are read from: the installed folder next to the
// binary when there is one, else the resources (":/i18n").
QString translationsFolder();

// Every string-table key that the view logic looks up by itself (the QML
// views look up their own keys).
QByteArrayList viewLogicTextKeys();
