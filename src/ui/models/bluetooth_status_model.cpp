#include "bluetooth_status_model.h"

#include "followed_object.h"
#include "logic/connection_texts.h"
#include "transport/ble_adapter.h"

BluetoothStatusModel::BluetoothStatusModel(QObject* parent)
    : QObject(parent) {}

QObject* BluetoothStatusModel::adapter() const {
    return m_adapter;
}

void BluetoothStatusModel::setAdapter(QObject* adapter) {
    const bool followed = followObject(m_adapter, adapter, this, [this](BleAdapter* next) {
        connect(next, &BleAdapter::powerStateChanged, this, &BluetoothStatusModel::changed);
    });
    if (!followed)
        return;
    Q_EMIT adapterChanged();
    Q_EMIT changed();
}

static std::optional<ViewLogic::BluetoothProblem> problemOf(const BleAdapter* adapter) {
    if (!adapter)
        return std::nullopt;
    return ViewLogic::bluetoothProblem(adapter->powerState(), adapter->canPowerOn());
}

bool BluetoothStatusModel::problem() const {
    return problemOf(m_adapter).has_value();
}

QString BluetoothStatusModel::title() const {
    const auto problem = problemOf(m_adapter);
    return problem ? qtTrId(problem->titleKey) : QString();
}

QString BluetoothStatusModel::detail() const {
    const auto problem = problemOf(m_adapter);
    return problem ? qtTrId(problem->detailKey) : QString();
}

bool BluetoothStatusModel::canPowerOn() const {
    return m_adapter && m_adapter->canPowerOn();
}

void BluetoothStatusModel::powerOn() {
    if (m_adapter)
        m_adapter->powerOn();
}
