// The codes of the command frames the radio understands (byte 0 of each write).
#pragma once

#include <cstdint>

namespace RadioCommand {
enum : std::uint8_t {
    appStart = 0x01,
    sendDirectText = 0x02,
    sendChannelText = 0x03,
    getContacts = 0x04,
    setDeviceTime = 0x06,
    sendSelfAdvert = 0x07,
    setAdvertName = 0x08,
    addOrUpdateContact = 0x09,
    syncNextMessage = 0x0A,
    setTxPower = 0x0C,
    resetPath = 0x0D,
    removeContact = 0x0F,
    shareContact = 0x10,
    reboot = 0x13,
    getBatteryAndStorage = 0x14,
    deviceQuery = 0x16,
    getChannel = 0x1F,
    setChannel = 0x20,
    getStatistics = 0x38,
};
} // namespace RadioCommand
