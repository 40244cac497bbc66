#include "protocol/mesh_event.h"

#include <array>

namespace {

// In the order of the alternatives of MeshEvent.
constexpr std::array<const char*, std::variant_size_v<MeshEvent>> eventNames{
    "ok",
    "error",
    "selfInfo",
    "deviceInfo",
    "battery",
    "currentTime",
    "contactsStart",
    "contact",
    "endOfContacts",
    "messageSent",
    "contactMessage",
    "channelMessage",
    "channelInfo",
    "stats",
    "advert",
    "newAdvert",
    "pathUpdated",
    "sendConfirmed",
    "loginSuccess",
    "loginFailed",
    "statusResponse",
    "unhandled",
    "noMoreMessages",
    "messagesWaiting",
};

} // namespace

const char* eventName(const MeshEvent& event) {
    return eventNames.at(event.index());
}
