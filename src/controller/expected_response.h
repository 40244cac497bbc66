#pragma once

#include "protocol/mesh_event.h"

// Which events answer a command that awaits a reply.
enum class ExpectedResponse {
    ok,
    selfInfo,
    deviceInfo,
    batteryVoltage,
    endOfContacts,
    channelInfo,
    sent,
    stats,
    anyMessage, // a contact message, a channel message or "no more messages"
};

// Whether `event` answers a request expecting `expect`. An error event answers
// none: the controller charges it to the oldest waiting request instead.
bool matches(ExpectedResponse expect, const MeshEvent& event);
