#pragma once

#include "controller_bound.h"

#include <QAbstractListModel>
#include <QPointer>
#include <QtQml/qqml.h>

class MeshController;

// The radios found by the scan, in the controller's order. Follows the
// controller's row signals one to one. Radios of the same name show what
// tells them apart (their address), and radios the system knows are marked.
class DeviceListModel : public ControllerBoundListModel {
    Q_OBJECT
    QML_ELEMENT
    Q_PROPERTY(int count READ count NOTIFY countChanged)

public:
    enum Role {
        IdRole = Qt::UserRole + 1, // the UUID as text, the avatar's seed
        NameRole,
        RssiRole,
        RssiTextRole, // "-70 dBm"
        KnownRole,    // the system knows it (paired, trusted, connected)
        HeardRole,    // false for a known radio not heard in this scan
        // The address while another listed radio has the same name, else empty.
        AddressRole,
        CurrentRole, // the radio connected now (listed while looking for another)
    };
    Q_ENUM(Role)

    explicit DeviceListModel(QObject* parent = nullptr);

    int count() const { return m_count; }

    int rowCount(const QModelIndex& parent = {}) const override;
    QVariant data(const QModelIndex& index, int role) const override;
    QHash<int, QByteArray> roleNames() const override;

    // Connects to the radio of `row`.
    Q_INVOKABLE void connectTo(int row);

Q_SIGNALS:
    void countChanged();

protected:
    void attach(MeshController* controller) override;

private:
    void namesChanged();
    bool nameShared(int row) const;
    bool isCurrent(const QUuid& id) const;

    // The number of rows views were told about; the controller's list may
    // already be longer while an insertion is being announced.
    int m_count = 0;
};
