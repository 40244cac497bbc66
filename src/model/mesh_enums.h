#pragma once

#include <QString>
#include <cstdint>
#include <optional>

// The two small enumerations that travel on the wire as one byte each.
namespace MeshProtocol {

enum class AdvertType : std::uint8_t {
    none = 0,
    chat = 1,
    repeaterNode = 2,
    room = 3,
    sensor = 4,
};

// No value for codes 5 to 255.
std::optional<AdvertType> advertTypeFromCode(std::uint8_t code);
// Codes the decoder meets inside records: unknown codes become `none`.
AdvertType advertTypeOrNone(std::uint8_t code);
constexpr std::uint8_t code(AdvertType type) {
    return static_cast<std::uint8_t>(type);
}
// Localisation key of the type's display name, e.g. "contact.type.repeater".
const char* displayNameKey(AdvertType type);
// The localised display name (qtTrId of the key).
QString displayName(AdvertType type);
// The case name as written in code and in the frame inspector ("repeaterNode").
const char* caseName(AdvertType type);

enum class DeviceError : std::uint8_t {
    unsupportedCommand = 1,
    notFound = 2,
    tableFull = 3,
    badState = 4,
    fileIOError = 5,
    illegalArgument = 6,
};

// No value for code 0 and codes 7 to 255.
std::optional<DeviceError> deviceErrorFromCode(std::uint8_t code);
constexpr std::uint8_t code(DeviceError error) {
    return static_cast<std::uint8_t>(error);
}
// English message of the error, e.g. "Storage table is full".
QString message(DeviceError error);
const char* caseName(DeviceError error);

} // namespace MeshProtocol
