#include "controller/conversation_journal.h"

#include <QCryptographicHash>
#include <QHash>
#include <QSet>
#include <algorithm>
#include <charconv>

namespace {

constexpr QByteArrayView magic = "talvenne-journal 1 ";
constexpr qsizetype digestHexLength = 16;

// The digest only tells a damaged record from a sound one; MD5 does that at
// three times the speed of SHA-256, which counts when a long journal is
// replayed at start.
QByteArray digest(QByteArrayView bytes) {
    return QCryptographicHash::hash(bytes, QCryptographicHash::Md5).left(8).toHex();
}

// Reads a decimal number ending at the next space; false when there is no
// space before `end` or the text is not a number.
bool readSize(const char*& p, const char* end, qint64& out) {
    const char* space = std::find(p, end, ' ');
    if (space == end)
        return false;
    const auto result = std::from_chars(p, space, out);
    if (result.ec != std::errc() || result.ptr != space || out < 0)
        return false;
    p = space + 1;
    return true;
}

} // namespace

namespace Journal {

QByteArray header(QByteArrayView base) {
    return header(base.size(), base);
}

QByteArray header(qint64 baseSize, QByteArrayView baseTail) {
    return magic.toByteArray() + QByteArray::number(baseSize) + ' ' +
           digest(baseTail.last(std::min(baseTail.size(), tailBytes))) + '\n';
}

QByteArray frame(const JournalRecord& record) {
    const QByteArray payload = encodeJournalRecord(record);
    return QByteArray::number(payload.size()) + ' ' + digest(payload) + ' ' + payload + '\n';
}

namespace {

// The records from `p` on, after the header.
Replay readRecords(const char* p, const char* const end) {
    Replay replay;
    while (p != end) {
        // A record cut short anywhere (its size, digest, payload or line
        // end missing) is the last one the writer began.
        qint64 size = 0;
        const char* cursor = p;
        if (!readSize(cursor, end, size)) {
            const bool torn = std::find(p, end, '\n') == end &&
                              std::all_of(p, end, [](char c) { return c >= '0' && c <= '9'; });
            replay.end = torn ? Replay::End::tornTail : Replay::End::damaged;
            return replay;
        }
        // The size is compared with what is left before any sum is made of
        // it: a damaged size field can hold any number up to 2^63 - 1. A
        // record that runs past the end is the writer's last, cut short,
        // unless a line follows it: then the size itself is wrong.
        const qint64 left = end - cursor - (digestHexLength + 2); // digest, space, line end
        if (left < 0 || size > left) {
            const bool torn = std::find(cursor, end, '\n') == end;
            replay.end = torn ? Replay::End::tornTail : Replay::End::damaged;
            return replay;
        }
        const QByteArrayView expected(cursor, digestHexLength);
        const QByteArrayView payload(cursor + digestHexLength + 1, size);
        const char* const next = payload.data() + size;
        std::optional<JournalRecord> record;
        if (cursor[digestHexLength] == ' ' && *next == '\n' && expected == digest(payload))
            record = decodeJournalRecord(payload);
        if (!record) {
            replay.end = Replay::End::damaged;
            return replay;
        }
        replay.records.append(std::move(*record));
        p = next + 1;
    }
    return replay;
}

// The header line, or none when it is cut short.
std::optional<QByteArrayView> headerLine(QByteArrayView journal) {
    const qsizetype lineEnd = journal.indexOf('\n');
    if (lineEnd < 0)
        return std::nullopt;
    return journal.first(lineEnd + 1);
}

} // namespace

Replay read(QByteArrayView journal, QByteArrayView base) {
    // A cut-short header is a torn tail like any other.
    const auto line = headerLine(journal);
    if (!line)
        return {{}, Replay::End::tornTail};
    if (*line != header(base))
        return {{}, line->startsWith(magic) ? Replay::End::otherBase : Replay::End::damaged};
    return readRecords(journal.data() + line->size(), journal.data() + journal.size());
}

Replay readWithoutBase(QByteArrayView journal) {
    const auto line = headerLine(journal);
    if (!line)
        return {{}, Replay::End::tornTail};
    if (!line->startsWith(magic))
        return {{}, Replay::End::damaged};
    return readRecords(journal.data() + line->size(), journal.data() + journal.size());
}

bool messagesHeldIn(const QList<JournalRecord>& records, const QList<Conversation>& history) {
    QHash<QString, QSet<QUuid>> held;
    for (const Conversation& conversation : history) {
        QSet<QUuid>& ids = held[conversation.target.conversationKey()];
        for (const ChatMessage& message : conversation.messages)
            ids.insert(message.id);
    }
    for (const JournalRecord& record : records) {
        if (record.kind == JournalRecord::Kind::remove)
            continue;
        const QSet<QUuid> ids = held.value(record.conversation.target.conversationKey());
        for (const ChatMessage& message : record.conversation.messages) {
            if (!ids.contains(message.id))
                return false;
        }
    }
    return true;
}

QList<JournalRecord> diff(const QList<Conversation>& before, const QList<Conversation>& after) {
    using Kind = JournalRecord::Kind;
    QHash<QString, const Conversation*> old;
    old.reserve(before.size());
    for (const Conversation& c : before)
        old.insert(c.target.conversationKey(), &c);

    QList<JournalRecord> records;
    for (const Conversation& now : after) {
        const QString key = now.target.conversationKey();
        const Conversation* was = old.take(key);
        if (!was) {
            records.append({Kind::put, now});
            continue;
        }
        const bool sameSummary =
            was->lastActivity == now.lastActivity && was->unreadCount == now.unreadCount;
        const MessageList& oldMessages = was->messages;
        const MessageList& newMessages = now.messages;
        if (oldMessages.isSharedWith(newMessages)) {
            if (!sameSummary)
                records.append(
                    {Kind::merge, Conversation{now.target, {}, now.lastActivity, now.unreadCount}});
            continue;
        }
        // Messages are only appended or changed in place; anything else
        // (fewer, or another id at a place) stores the conversation whole.
        bool whole = newMessages.size() < oldMessages.size();
        Conversation merge{now.target, {}, now.lastActivity, now.unreadCount};
        for (qsizetype i = 0; !whole && i < oldMessages.size(); ++i) {
            // A chunk both still share holds nothing new: only the chunks
            // that were written to are compared, whatever the length.
            if (i % MessageList::chunkSize == 0 && oldMessages.sharesChunkAt(newMessages, i)) {
                i += MessageList::chunkSize - 1;
                continue;
            }
            if (oldMessages[i] == newMessages[i])
                continue;
            if (oldMessages[i].id != newMessages[i].id)
                whole = true;
            else
                merge.messages.append(newMessages[i]);
        }
        if (whole) {
            records.append({Kind::put, now});
            continue;
        }
        merge.messages.append(newMessages.mid(oldMessages.size()));
        if (!merge.messages.isEmpty() || !sameSummary)
            records.append({Kind::merge, std::move(merge)});
    }
    for (const Conversation* gone : std::as_const(old))
        records.append({Kind::remove, Conversation{gone->target, {}, {}, 0}});
    return records;
}

void apply(QList<Conversation>& history, const QList<JournalRecord>& records) {
    QHash<QString, qsizetype> rows;
    rows.reserve(history.size());
    for (qsizetype row = 0; row < history.size(); ++row)
        rows.insert(history[row].target.conversationKey(), row);
    // Message rows by id, built for a conversation the first time a merge
    // touches it.
    QHash<QString, QHash<QUuid, qsizetype>> messageRows;

    for (const JournalRecord& record : records) {
        const QString key = record.conversation.target.conversationKey();
        const auto found = rows.constFind(key);
        switch (record.kind) {
        case JournalRecord::Kind::put:
            messageRows.remove(key);
            if (found != rows.cend())
                history[*found] = record.conversation;
            else {
                rows.insert(key, history.size());
                history.append(record.conversation);
            }
            break;
        case JournalRecord::Kind::remove:
            if (found != rows.cend()) {
                const qsizetype row = *found;
                history.removeAt(row);
                rows.remove(key);
                messageRows.remove(key);
                for (auto& r : rows) {
                    if (r > row)
                        --r;
                }
            }
            break;
        case JournalRecord::Kind::merge: {
            qsizetype row = found != rows.cend() ? *found : -1;
            if (row < 0) {
                row = history.size();
                rows.insert(key, row);
                history.append(Conversation{record.conversation.target, {}, {}, 0});
            }
            Conversation& c = history[row];
            auto ids = messageRows.find(key);
            if (ids == messageRows.end()) {
                ids = messageRows.insert(key, {});
                ids->reserve(c.messages.size());
                for (qsizetype m = 0; m < c.messages.size(); ++m)
                    ids->insert(c.messages[m].id, m);
            }
            for (const ChatMessage& m : record.conversation.messages) {
                const auto at = ids->constFind(m.id);
                if (at != ids->cend())
                    c.messages[*at] = m;
                else {
                    ids->insert(m.id, c.messages.size());
                    c.messages.append(m);
                }
            }
            c.lastActivity = record.conversation.lastActivity;
            c.unreadCount = record.conversation.unreadCount;
            break;
        }
        }
    }
}

} // namespace Journal
