#pragma once

#include <QByteArrayList>

class QCoreApplication;

// Loads the compiled English string table from the resources and installs
// it on the application. False when the table is missing or unreadable.
bool installTranslations(QCoreApplication& app);

// Every string-table key that the view logic looks up by itself (the QML
// views look up their own keys).
QByteArrayList viewLogicTextKeys();
