#pragma once

#include "controller_bound.h"

#include <QString>
#include <QUrl>
#include <QtQml/qqml.h>

// File > Save Conversation As…: the open conversation written to a text
// file the user chose (see ViewLogic::conversationText). The file is
// replaced only once all of it is written, so a failed save leaves what was
// there; nothing of the history is touched either way.
class ConversationSaver : public ControllerBoundObject {
    Q_OBJECT
    QML_ELEMENT

public:
    explicit ConversationSaver(QObject* parent = nullptr);

    // Where the dialog starts: the documents folder and a name from the title.
    Q_INVOKABLE QUrl suggestedFile(const QString& conversationKey) const;
    // The folder of a file, for the dialog's starting place.
    Q_INVOKABLE static QUrl folderOf(const QUrl& file);
    // Writes the conversation; empty on success, else why it failed.
    Q_INVOKABLE QString save(const QString& conversationKey, const QUrl& file) const;
};
