#pragma once

#include "model/conversation.h"

#include <QByteArray>
#include <QByteArrayView>
#include <QList>
#include <QString>
#include <memory>
#include <optional>

// The conversation history file, conversations.json: a JSON array of
// conversations. Encoding and writing run on one background thread; the
// caller only hands over a snapshot.
class ConversationStore {
public:
    explicit ConversationStore(QString filePath);
    // Finishes the writes already asked for.
    ~ConversationStore();

    ConversationStore(const ConversationStore&) = delete;
    ConversationStore& operator=(const ConversationStore&) = delete;

    // <the user's data folder>/Talvenne/conversations.json; creates the folder.
    static QString defaultFilePath();
    const QString& filePath() const;

    // Reads the file. Missing or unreadable: no conversations. Undecodable: the
    // file is moved aside (conversations.json.damaged-<time>) and no
    // conversations are returned.
    QList<Conversation> load();

    // Returns at once. The file always ends with the newest snapshot handed
    // in; an older snapshot that has not started writing may be skipped.
    void save(QList<Conversation> snapshot);

    // Blocks until every snapshot handed in so far is on disk.
    void flush();

private:
    class Writer;
    QString m_filePath;
    std::unique_ptr<Writer> m_writer;
};

// The file's exact JSON shape, both ways.
QByteArray encodeConversations(const QList<Conversation>& conversations);
// No value when anything is off (bad JSON, a missing member, an unknown case).
std::optional<QList<Conversation>> decodeConversations(QByteArrayView json);
