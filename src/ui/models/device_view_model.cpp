#include "device_view_model.h"

#include "logic/device_texts.h"
#include "logic/localized_text.h"
#include "logic/safe_text.h"
#include "look.h"

DeviceViewModel::DeviceViewModel(QObject* parent)
    : ControllerBoundObject(parent) {}

void DeviceViewModel::attach(MeshController* controller) {
    if (controller) {
        for (auto signal :
             {&MeshController::selfInfoChanged, &MeshController::deviceInfoChanged,
              &MeshController::batteryChanged, &MeshController::coreStatsChanged,
              &MeshController::radioStatsChanged, &MeshController::packetStatsChanged})
            connect(controller, signal, this, &DeviceViewModel::changed);
        // A radio that comes back (after a reboot, out of range) has counted
        // anew: read its statistics again once it is synchronised.
        connect(controller, &MeshController::isSyncingChanged, this, [this] {
            if (this->controller() && !this->controller()->isSyncing() &&
                this->controller()->transportState() == TransportState::connected)
                appear();
        });
        appear();
    }
    Q_EMIT changed();
}

bool DeviceViewModel::hasSelfInfo() const {
    return controller() && controller()->selfInfo().has_value();
}

QString DeviceViewModel::name() const {
    return hasSelfInfo() ? ViewLogic::safeName(controller()->selfInfo()->name) : QString();
}

QString DeviceViewModel::typeName() const {
    return hasSelfInfo() ? MeshProtocol::displayName(controller()->selfInfo()->advertType)
                         : QString();
}

QString DeviceViewModel::publicKeyPrefix() const {
    return hasSelfInfo() ? controller()->selfInfo()->publicKey.left(16) : QString();
}

bool DeviceViewModel::hasDeviceInfo() const {
    return controller() && controller()->deviceInfo().has_value();
}

QString DeviceViewModel::model() const {
    if (!hasDeviceInfo())
        return {};
    const QString& model = controller()->deviceInfo()->model;
    return model.isEmpty() ? QStringLiteral("\u2014") : ViewLogic::safeName(model);
}

QString DeviceViewModel::firmware() const {
    return hasDeviceInfo() ? QStringLiteral("v%1").arg(controller()->deviceInfo()->firmwareVersion)
                           : QString();
}

bool DeviceViewModel::hasBattery() const {
    return controller() && controller()->battery().has_value();
}

QString DeviceViewModel::batteryPercentText() const {
    const auto percentage = hasBattery() ? controller()->battery()->percentage() : std::nullopt;
    return percentage ? QLocale().toString(*percentage) + QLocale().percent() : QString();
}

QString DeviceViewModel::batterySymbol() const {
    const auto percentage = hasBattery() ? controller()->battery()->percentage() : std::nullopt;
    return percentage ? ViewLogic::batterySymbol(*percentage).symbol : QString();
}

QString DeviceViewModel::batteryTint() const {
    const auto percentage = hasBattery() ? controller()->battery()->percentage() : std::nullopt;
    return percentage ? Look::tintName(ViewLogic::batterySymbol(*percentage).tint) : QString();
}

QString DeviceViewModel::voltageText() const {
    return hasBattery() ? ViewLogic::voltageText(controller()->battery()->milliVolts) : QString();
}

QString DeviceViewModel::frequencyText() const {
    return hasSelfInfo() ? ViewLogic::quantity(controller()->selfInfo()->radioFrequency, 3,
                                               QStringLiteral("MHz"))
                         : QString();
}

QString DeviceViewModel::bandwidthText() const {
    return hasSelfInfo() ? ViewLogic::quantity(controller()->selfInfo()->radioBandwidth, 0,
                                               QStringLiteral("kHz"))
                         : QString();
}

QString DeviceViewModel::spreadingFactorText() const {
    return hasSelfInfo()
               ? QStringLiteral("SF%1").arg(controller()->selfInfo()->radioSpreadingFactor)
               : QString();
}

QString DeviceViewModel::codingRateText() const {
    return hasSelfInfo() ? QStringLiteral("4/%1").arg(controller()->selfInfo()->radioCodingRate)
                         : QString();
}

int DeviceViewModel::txPowerMaximum() const {
    return std::max(hasSelfInfo() ? int(controller()->selfInfo()->maxTxPower) : 0, 1);
}

QVariantList DeviceViewModel::statistics() const {
    QVariantList rows;
    if (!controller())
        return rows;
    for (const auto& row : ViewLogic::statisticRows(
             controller()->coreStats(), controller()->radioStats(), controller()->packetStats()))
        rows.append(QVariantMap{{QStringLiteral("label"), qtTrId(row.labelKey.constData())},
                                {QStringLiteral("value"), row.value}});
    return rows;
}

QString DeviceViewModel::txPowerText() const {
    return qtTrId("%lld dBm").arg(qint64(m_txPower));
}

void DeviceViewModel::editName() {
    // The draft starts from the name as the radio has it, not as shown.
    m_nameDraft = hasSelfInfo() ? controller()->selfInfo()->name : QString();
    m_editingName = true;
    Q_EMIT stateChanged();
}

void DeviceViewModel::cancelNameEdit() {
    if (m_busy || !m_editingName)
        return;
    m_editingName = false;
    m_nameDraft.clear();
    Q_EMIT stateChanged();
}

void DeviceViewModel::saveName() {
    if (!canSaveName() || !controller())
        return;
    m_busy = true;
    Q_EMIT stateChanged();
    runSaveName(m_nameDraft);
}

QCoro::Task<void> DeviceViewModel::runSaveName(QString name) {
    QPointer<DeviceViewModel> self(this);
    try {
        co_await controller()->setDeviceName(name);
    } catch (const MeshError&) {
        // The row shows whatever name the radio has; nothing else to say.
    }
    if (!self)
        co_return;
    m_editingName = false;
    m_busy = false;
    Q_EMIT stateChanged();
}

void DeviceViewModel::commitTxPower() {
    if (!controller())
        return;
    const auto power = std::uint8_t(std::clamp(m_txPower, 0.0, 255.0));
    [](QPointer<MeshController> controller, std::uint8_t dBm) -> QCoro::Task<void> {
        try {
            co_await controller->setTxPower(dBm);
        } catch (const MeshError&) {
            // The slider stays where the user put it.
        }
    }(controller(), power);
}

void DeviceViewModel::refresh() {
    if (controller())
        runRefresh();
}

QCoro::Task<void> DeviceViewModel::runRefresh() {
    QPointer<MeshController> controller = this->controller();
    try {
        co_await controller->refreshDeviceStats();
        if (controller)
            co_await controller->refreshBattery();
    } catch (const MeshError&) {
    }
}

QCoro::Task<void> DeviceViewModel::appear() {
    QPointer<DeviceViewModel> self(this);
    QPointer<MeshController> controller = this->controller();
    co_await runRefresh();
    if (!self || !controller)
        co_return;
    m_txPower = controller->selfInfo() ? controller->selfInfo()->txPower : 0;
    Q_EMIT stateChanged();
}

void DeviceViewModel::forgetRadio() {
    if (controller())
        controller()->forgetDevice();
}

void DeviceViewModel::disconnectRadio() {
    if (controller())
        controller()->disconnectFromDevice();
}
