// The radio's own settings and actions: name, transmit power, adverts,
// reboot, and the battery and statistics readings of the device view.

#include "controller/mesh_controller.h"
#include "controller/qml_outcome.h"
#include "protocol/mesh_protocol.h"
#include "transport/mesh_link.h"

using namespace std::chrono_literals;

namespace {

constexpr auto deviceCommandTimeout = 5s;

} // namespace

QCoro::Task<void> MeshController::setDeviceName(QString name) {
    co_await request(MeshProtocol::setAdvertName(name), ExpectedResponse::ok, deviceCommandTimeout);
    if (m_closing)
        co_return;
    // The radio may store the name shortened; show what it kept.
    co_await requerySelfInfo();
}

QCoro::Task<void> MeshController::setTxPower(std::uint8_t dBm) {
    co_await request(MeshProtocol::setTxPower(dBm), ExpectedResponse::ok, deviceCommandTimeout);
    if (m_closing)
        co_return;
    co_await requerySelfInfo();
}

// Never fails: a change that went through is not undone by a lost re-read.
QCoro::Task<void> MeshController::requerySelfInfo() {
    if (m_closing || m_transportState != TransportState::connected)
        co_return;
    std::optional<SelfInfo> info;
    try {
        const MeshEvent event = co_await request(
            MeshProtocol::appStart(QString::fromLatin1(MeshProtocol::applicationName)),
            ExpectedResponse::selfInfo, deviceCommandTimeout);
        if (const auto* answer = std::get_if<Events::SelfInfo>(&event))
            info = answer->selfInfo;
    } catch (const MeshError&) {
    }
    if (m_closing || !info)
        co_return;
    setSelfInfo(std::move(info));
}

QCoro::Task<void> MeshController::sendAdvert(std::uint8_t kind) {
    if (m_closing || m_transportState != TransportState::connected)
        co_return;
    try {
        co_await request(MeshProtocol::sendSelfAdvert(kind), ExpectedResponse::ok,
                         deviceCommandTimeout);
    } catch (const MeshError&) {
    }
}

void MeshController::reboot() {
    // The radio restarts without answering; its link drop ends the session.
    if (m_link && m_transportState == TransportState::connected)
        m_link->write(MeshProtocol::reboot());
}

QCoro::Task<void> MeshController::refreshBattery() {
    if (m_closing || m_transportState != TransportState::connected)
        co_return;
    std::optional<BatteryInfo> info;
    try {
        const MeshEvent event =
            co_await request(MeshProtocol::getBatteryAndStorage(), ExpectedResponse::batteryVoltage,
                             deviceCommandTimeout);
        if (const auto* answer = std::get_if<Events::Battery>(&event))
            info = answer->battery;
    } catch (const MeshError&) {
    }
    if (m_closing || !info)
        co_return;
    setBattery(std::move(info));
}

QCoro::Task<void> MeshController::refreshDeviceStats() {
    struct Group {
        std::uint8_t code;
        DeviceStats MeshController::*field;
        void (MeshController::*changed)();
    };
    static constexpr Group groups[] = {
        {0, &MeshController::m_coreStats, &MeshController::coreStatsChanged},
        {1, &MeshController::m_radioStats, &MeshController::radioStatsChanged},
        {2, &MeshController::m_packetStats, &MeshController::packetStatsChanged},
    };
    for (const Group& group : groups) {
        if (m_closing)
            co_return;
        if (m_transportState != TransportState::connected)
            continue;
        std::optional<DeviceStats> stats;
        try {
            const MeshEvent event = co_await request(MeshProtocol::getStatistics(group.code),
                                                     ExpectedResponse::stats, deviceCommandTimeout);
            if (const auto* answer = std::get_if<Events::Stats>(&event))
                stats = answer->stats;
        } catch (const MeshError&) {
        }
        if (m_closing)
            co_return;
        // The record is replaced whole: a group's frame fills only its own fields.
        if (stats)
            assign(this->*group.field, std::move(*stats), group.changed);
    }
}

// --- QML entry points

QCoro::QmlTask MeshController::setDeviceNameQml(const QString& name) {
    return QmlOutcome::of(setDeviceName(name));
}

QCoro::QmlTask MeshController::setTxPowerQml(int dBm) {
    if (dBm < 0 || dBm > 0xFF)
        return QmlOutcome::failed(MeshError::device(MeshProtocol::DeviceError::illegalArgument));
    return QmlOutcome::of(setTxPower(std::uint8_t(dBm)));
}

QCoro::QmlTask MeshController::sendAdvertQml(int kind) {
    return QmlOutcome::of(sendAdvert(std::uint8_t(kind == 1 ? 1 : 0)));
}

QCoro::QmlTask MeshController::refreshBatteryQml() {
    return QmlOutcome::of(refreshBattery());
}

QCoro::QmlTask MeshController::refreshDeviceStatsQml() {
    return QmlOutcome::of(refreshDeviceStats());
}
