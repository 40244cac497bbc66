// Any node book must either load within its bounds or be refused, never
// crash; and what loads must survive being written and read back unchanged.
#include "book/node_book_file.h"

#include <QByteArrayView>
#include <cstdint>
#include <cstdlib>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    QString reason;
    const auto loaded = NodeBookFile::decode(
        QByteArrayView(reinterpret_cast<const char*>(data), qsizetype(size)), reason);
    if (!loaded)
        return 0;
    if (loaded->contacts.size() > NodeBookLimits::maxContacts ||
        loaded->channels.size() > NodeBookLimits::maxChannels)
        std::abort();
    const auto again = NodeBookFile::decode(NodeBookFile::encode(*loaded), reason);
    if (!again || !(*again == *loaded))
        std::abort();
    return 0;
}
