// Any history file must either load or be refused, never crash; what loads
// is valid UTF-8, and must survive being written and read back unchanged.
#include "controller/conversation_store.h"

#include <QByteArrayView>
#include <cstdint>
#include <cstdlib>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const QByteArrayView bytes(reinterpret_cast<const char*>(data), qsizetype(size));
    const auto loaded = decodeConversations(bytes);
    if (!loaded)
        return 0;
    // The reader checks UTF-8 string by string; a file it takes is UTF-8
    // throughout.
    if (!bytes.isValidUtf8())
        std::abort();
    const auto again = decodeConversations(encodeConversations(*loaded));
    if (!again || !(*again == *loaded))
        std::abort();
    return 0;
}
