#include "device_list_model.h"

#include "controller/mesh_controller.h"
#include "logic/connection_texts.h"
#include "logic/safe_text.h"

DeviceListModel::DeviceListModel(QObject* parent)
    : QAbstractListModel(parent) {}

void DeviceListModel::setController(MeshController* controller) {
    if (m_controller == controller)
        return;
    if (m_controller)
        m_controller->disconnect(this);
    beginResetModel();
    m_controller = controller;
    m_count = controller ? int(controller->discoveredDevices().size()) : 0;
    endResetModel();
    if (controller) {
        connect(controller, &MeshController::discoveredDeviceInserted, this, [this](int row) {
            beginInsertRows({}, row, row);
            m_count = int(m_controller->discoveredDevices().size());
            endInsertRows();
            Q_EMIT countChanged();
        });
        connect(controller, &MeshController::discoveredDeviceChanged, this,
                [this](int row) { Q_EMIT dataChanged(index(row), index(row)); });
        connect(controller, &MeshController::discoveredDevicesReset, this, [this] {
            beginResetModel();
            m_count = int(m_controller->discoveredDevices().size());
            endResetModel();
            Q_EMIT countChanged();
        });
    }
    Q_EMIT controllerChanged();
    Q_EMIT countChanged();
}

int DeviceListModel::rowCount(const QModelIndex& parent) const {
    return parent.isValid() ? 0 : m_count;
}

QVariant DeviceListModel::data(const QModelIndex& index, int role) const {
    if (!m_controller || !checkIndex(index, CheckIndexOption::IndexIsValid) ||
        index.row() >= int(m_controller->discoveredDevices().size()))
        return {};
    const DiscoveredDevice& device = m_controller->discoveredDevices().at(index.row());
    switch (role) {
    case IdRole:
        return device.id.toString(QUuid::WithoutBraces);
    case NameRole:
        return ViewLogic::safeName(device.name);
    case RssiRole:
        return device.rssi;
    case RssiTextRole:
        return ViewLogic::rssiText(device.rssi);
    }
    return {};
}

QHash<int, QByteArray> DeviceListModel::roleNames() const {
    return {
        {IdRole, "deviceId"},
        {NameRole, "name"},
        {RssiRole, "rssi"},
        {RssiTextRole, "rssiText"},
    };
}

void DeviceListModel::connectTo(int row) {
    if (!m_controller || row < 0 || row >= int(m_controller->discoveredDevices().size()))
        return;
    m_controller->connectToDevice(m_controller->discoveredDevices().at(row));
}
