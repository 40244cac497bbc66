// Any history file must either load or be refused, never crash; and what
// loads must survive being written and read back unchanged.
#include "controller/conversation_store.h"

#include <QByteArrayView>
#include <cstdint>
#include <cstdlib>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const auto loaded =
        decodeConversations(QByteArrayView(reinterpret_cast<const char*>(data), qsizetype(size)));
    if (!loaded)
        return 0;
    const auto again = decodeConversations(encodeConversations(*loaded));
    if (!again || !(*again == *loaded))
        std::abort();
    return 0;
}
