#include "controller/mesh_error.h"

MeshError::MeshError(Kind kind, std::optional<MeshProtocol::DeviceError> code, QString linkText)
    : m_kind(kind)
    , m_deviceError(kind == Kind::device ? code : std::nullopt)
    , m_linkText(kind == Kind::link ? std::move(linkText) : QString())
    , m_what(description().toUtf8()) {}

QString MeshError::description() const {
    switch (m_kind) {
    case Kind::device:
        if (m_deviceError)
            return MeshProtocol::message(*m_deviceError);
        return QStringLiteral("The device reported an error.");
    case Kind::timeout:
        return QStringLiteral("The device did not respond in time.");
    case Kind::notConnected:
        return QStringLiteral("Not connected to a device.");
    case Kind::link:
        return m_linkText;
    }
    return {};
}
