#pragma once

#include "model/conversation.h"

#include <QByteArray>
#include <QByteArrayView>
#include <QList>
#include <optional>

// The journal beside conversations.json: lasting changes appended one record
// at a time, so that a new message costs a few hundred bytes on disk instead
// of a rewrite of the whole history. Loading replays it on top of the file;
// the store folds it into a fresh file now and then and at quit.
//
// Layout: a header line naming the file it continues, then one line per
// record:
//   talvenne-journal 1 <size of the file> <digest of the file's tail>\n
//   <payload size> <digest of the payload> <payload>\n
// Digests are the first 8 bytes of MD5 in hex. A payload is compact JSON
// in the file's own shapes:
//   {"put":<conversation>}     the conversation as it stands now, replacing
//                              any earlier one with the same target
//   {"merge":<conversation>}   its messages replace the stored ones with the
//                              same id, or are appended when new; lastActivity
//                              and unreadCount are set (a missing conversation
//                              is created)
//   {"remove":<target>}        the conversation is gone
// Each record sets state rather than changing it, so replaying a journal on
// top of a file that already holds its changes gives the same history.
struct JournalRecord {
    enum class Kind { put, merge, remove };
    Kind kind = Kind::put;
    // For remove only the target is used.
    Conversation conversation;

    bool operator==(const JournalRecord&) const = default;
};

// The payload JSON, both ways (conversation_writer.cpp, conversation_reader.cpp).
QByteArray encodeJournalRecord(const JournalRecord& record);
std::optional<JournalRecord> decodeJournalRecord(QByteArrayView json);

namespace Journal {

// The header line for a journal continuing the file that holds `base`.
QByteArray header(QByteArrayView base);
// The same from the file's size and its last bytes (at least tailBytes of
// them, or the whole file when it is shorter). The header identifies the file
// by these two: every fold that changes the history changes one or the other.
QByteArray header(qint64 baseSize, QByteArrayView baseTail);
constexpr qsizetype tailBytes = 4096;
// One record as a line.
QByteArray frame(const JournalRecord& record);

struct Replay {
    enum class End {
        complete,  // every byte read
        tornTail,  // the last record is cut short (the writer was stopped mid-write)
        damaged,   // a record that is complete but wrong; nothing after it is used
        otherBase, // written for another file (folded meanwhile); nothing is used
    };
    QList<JournalRecord> records;
    End end = End::complete;
};

// The records of `journal` that continue `base`, up to the first torn or
// damaged one.
Replay read(QByteArrayView journal, QByteArrayView base);
// The same whatever file the journal continues (one left by a fold cut
// short, say).
Replay readWithoutBase(QByteArrayView journal);
// Whether every message of the records is in `history` already, in the
// conversation the record was for: nothing of them would be missed.
bool messagesHeldIn(const QList<JournalRecord>& records, const QList<Conversation>& history);

// Records that turn `before` into `after` (matched by conversation key). Only
// the chunks of messages that are not shared between the two are compared.
QList<JournalRecord> diff(const QList<Conversation>& before, const QList<Conversation>& after);

// Applies the records in order.
void apply(QList<Conversation>& history, const QList<JournalRecord>& records);

} // namespace Journal
