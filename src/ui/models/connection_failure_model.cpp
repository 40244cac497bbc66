#include "connection_failure_model.h"

#include "logic/safe_text.h"

void ConnectionFailureModel::attach(MeshController* controller) {
    m_attempting = false;
    m_failed = false;
    if (controller) {
        connect(controller, &MeshController::transportStateChanged, this, [this] {
            switch (this->controller()->transportState()) {
            case TransportState::connecting:
                m_attempting = true;
                m_failed = false;
                break;
            case TransportState::connected:
            case TransportState::scanning:
                m_attempting = false;
                m_failed = false;
                break;
            default:
                break;
            }
            Q_EMIT changed();
        });
        // The text of a failed attempt comes once it has ended.
        connect(controller, &MeshController::connectionErrorChanged, this, [this] {
            const bool failure = !this->controller()->connectionError().isEmpty();
            m_failed = failure && (m_attempting || m_failed);
            m_attempting = false;
            Q_EMIT changed();
        });
        connect(controller, &MeshController::rememberedDeviceChanged, this,
                &ConnectionFailureModel::changed);
        connect(controller, &MeshController::discoveredDevicesChanged, this,
                &ConnectionFailureModel::changed);
    }
    Q_EMIT changed();
}

// The radio is the one chosen last, whose attempt ended with the error.
QString ConnectionFailureModel::radioName() const {
    if (!controller() || !m_failed || !controller()->rememberedDeviceId())
        return {};
    return ViewLogic::safeName(controller()->rememberedDeviceName());
}

std::optional<DiscoveredDevice> ConnectionFailureModel::listedRadio() const {
    if (radioName().isEmpty())
        return std::nullopt;
    for (const DiscoveredDevice& device : controller()->discoveredDevices()) {
        if (device.id == controller()->rememberedDeviceId())
            return device;
    }
    return std::nullopt;
}

bool ConnectionFailureModel::canRetry() const {
    return listedRadio().has_value();
}

void ConnectionFailureModel::retry() {
    if (const auto radio = listedRadio())
        controller()->connectToDevice(*radio);
}

void ConnectionFailureModel::forget() {
    if (!radioName().isEmpty())
        controller()->forgetDevice();
}
