#include "model/mesh_enums.h"

namespace MeshProtocol {

std::optional<AdvertType> advertTypeFromCode(std::uint8_t code) {
    if (code <= static_cast<std::uint8_t>(AdvertType::sensor))
        return static_cast<AdvertType>(code);
    return std::nullopt;
}

AdvertType advertTypeOrNone(std::uint8_t code) {
    return advertTypeFromCode(code).value_or(AdvertType::none);
}

const char* displayNameKey(AdvertType type) {
    switch (type) {
    case AdvertType::none:
        break;
    case AdvertType::chat:
        return "contact.type.companion";
    case AdvertType::repeaterNode:
        return "contact.type.repeater";
    case AdvertType::room:
        return "contact.type.room";
    case AdvertType::sensor:
        return "contact.type.sensor";
    }
    return "contact.type.unknown";
}

QString displayName(AdvertType type) {
    return qtTrId(displayNameKey(type));
}

const char* caseName(AdvertType type) {
    switch (type) {
    case AdvertType::none:
        break;
    case AdvertType::chat:
        return "chat";
    case AdvertType::repeaterNode:
        return "repeaterNode";
    case AdvertType::room:
        return "room";
    case AdvertType::sensor:
        return "sensor";
    }
    return "none";
}

std::optional<DeviceError> deviceErrorFromCode(std::uint8_t code) {
    if (code >= static_cast<std::uint8_t>(DeviceError::unsupportedCommand) &&
        code <= static_cast<std::uint8_t>(DeviceError::illegalArgument))
        return static_cast<DeviceError>(code);
    return std::nullopt;
}

QString message(DeviceError error) {
    switch (error) {
    case DeviceError::unsupportedCommand:
        return QStringLiteral("Unsupported command");
    case DeviceError::notFound:
        return QStringLiteral("Not found");
    case DeviceError::tableFull:
        return QStringLiteral("Storage table is full");
    case DeviceError::badState:
        return QStringLiteral("Device is in a bad state");
    case DeviceError::fileIOError:
        return QStringLiteral("Storage I/O error");
    case DeviceError::illegalArgument:
        break;
    }
    return QStringLiteral("Illegal argument");
}

const char* caseName(DeviceError error) {
    switch (error) {
    case DeviceError::unsupportedCommand:
        return "unsupportedCommand";
    case DeviceError::notFound:
        return "notFound";
    case DeviceError::tableFull:
        return "tableFull";
    case DeviceError::badState:
        return "badState";
    case DeviceError::fileIOError:
        return "fileIOError";
    case DeviceError::illegalArgument:
        break;
    }
    return "illegalArgument";
}

} // namespace MeshProtocol
