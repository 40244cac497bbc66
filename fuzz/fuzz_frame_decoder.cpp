// Any bytes a radio might send must decode to some event without a crash,
// and decoding must not depend on anything but the bytes.
#include "protocol/mesh_protocol.h"

#include <QByteArray>
#include <cstdint>
#include <cstdlib>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const QByteArray frame =
        QByteArray::fromRawData(reinterpret_cast<const char*>(data), qsizetype(size));
    const MeshEvent first = MeshProtocol::decode(frame);
    const MeshEvent second = MeshProtocol::decode(frame);
    if (!(first == second))
        std::abort();
    return 0;
}
