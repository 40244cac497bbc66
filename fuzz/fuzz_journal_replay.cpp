// Any journal must replay or stop where it goes wrong, never crash; each
// record it yields must be written back the same, and what the replay builds
// must survive a fold (written as a history file and read back unchanged).
// The journal continues an empty history, the file the seeds were written for.
#include "controller/conversation_journal.h"
#include "controller/conversation_store.h"

#include <QByteArrayView>
#include <cstdint>
#include <cstdlib>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const QByteArrayView base("[]");
    const Journal::Replay replay =
        Journal::read(QByteArrayView(reinterpret_cast<const char*>(data), qsizetype(size)), base);
    for (const JournalRecord& record : replay.records) {
        const auto again = decodeJournalRecord(encodeJournalRecord(record));
        if (!again || !(*again == record))
            std::abort();
    }
    QList<Conversation> history;
    Journal::apply(history, replay.records);
    const auto folded = decodeConversations(encodeConversations(history));
    if (!folded || !(*folded == history))
        std::abort();
    return 0;
}
