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
            namesChanged();
        });
        connect(controller, &MeshController::discoveredDeviceChanged, this, [this](int row) {
            Q_EMIT dataChanged(index(row), index(row));
            namesChanged();
        });
        connect(controller, &MeshController::discoveredDevicesReset, this, [this] {
            beginResetModel();
            m_count = int(this->controller()->discoveredDevices().size());
            endResetModel();
            Q_EMIT countChanged();
        });
        connect(controller, &MeshController::transportStateChanged, this, [this] {
            if (m_count > 0)
                Q_EMIT dataChanged(index(0), index(m_count - 1), {CurrentRole});
        });
    }
    Q_EMIT countChanged();
}

// A new radio or a new name can make another row's name ambiguous.
void DeviceListModel::namesChanged() {
    if (m_count > 1)
        Q_EMIT dataChanged(index(0), index(m_count - 1), {AddressRole});
}

bool DeviceListModel::nameShared(int row) const {
    const QList<DiscoveredDevice>& devices = controller()->discoveredDevices();
    for (int other = 0; other < m_count && other < devices.size(); ++other) {
        if (other != row && devices.at(other).name == devices.at(row).name)
            return true;
    }
    return false;
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
    case KnownRole:
        return device.known;
    case HeardRole:
        return device.rssi != 0;
    case AddressRole:
        if (!nameShared(index.row()))
            return QString();
        // Where the system hides addresses, the start of the id tells them apart.
        return device.address.isEmpty() ? device.id.toString(QUuid::WithoutBraces).left(8)
                                        : ViewLogic::safeName(device.address);
    case CurrentRole:
        return isCurrent(device.id);
    }
    return {};
}

bool DeviceListModel::isCurrent(const QUuid& id) const {
    return controller()->transportState() == TransportState::connected &&
           controller()->rememberedDeviceId() == id;
}

QHash<int, QByteArray> DeviceListModel::roleNames() const {
    return {
        {IdRole, "deviceId"},       {NameRole, "name"},       {RssiRole, "rssi"},
        {RssiTextRole, "rssiText"}, {KnownRole, "known"},     {HeardRole, "heard"},
        {AddressRole, "address"},   {CurrentRole, "current"},
    };
}

void DeviceListModel::connectTo(int row) {
    if (!controller() || row < 0 || row >= int(controller()->discoveredDevices().size()))
        return;
    const DiscoveredDevice& device = controller()->discoveredDevices().at(row);
    if (!isCurrent(device.id))
        controller()->connectToDevice(device);
}
