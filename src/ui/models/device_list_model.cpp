#include "device_list_model.h"

#include "controller/mesh_controller.h"
#include "logic/connection_texts.h"
#include "logic/safe_text.h"

DeviceListModel::DeviceListModel(QObject* parent)
    : ControllerBoundListModel(parent) {}

void DeviceListModel::attach(MeshController* controller) {
    beginResetModel();
    m_count = controller ? int(controller->discoveredDevices().size()) : 0;
    endResetModel();
    if (controller) {
        connect(controller, &MeshController::discoveredDeviceInserted, this, [this](int row) {
            beginInsertRows({}, row, row);
            m_count = int(this->controller()->discoveredDevices().size());
            endInsertRows();
            Q_EMIT countChanged();
        });
        connect(controller, &MeshController::discoveredDeviceChanged, this,
                [this](int row) { Q_EMIT dataChanged(index(row), index(row)); });
        connect(controller, &MeshController::discoveredDevicesReset, this, [this] {
            beginResetModel();
            m_count = int(this->controller()->discoveredDevices().size());
            endResetModel();
            Q_EMIT countChanged();
        });
    }
    Q_EMIT countChanged();
}

int DeviceListModel::rowCount(const QModelIndex& parent) const {
    return parent.isValid() ? 0 : m_count;
}

QVariant DeviceListModel::data(const QModelIndex& index, int role) const {
    if (!controller() || !checkIndex(index, CheckIndexOption::IndexIsValid) ||
        index.row() >= int(controller()->discoveredDevices().size()))
        return {};
    const DiscoveredDevice& device = controller()->discoveredDevices().at(index.row());
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
    if (!controller() || row < 0 || row >= int(controller()->discoveredDevices().size()))
        return;
    controller()->connectToDevice(controller()->discoveredDevices().at(row));
}
