#pragma once

#include "model/device_records.h"
#include "sidebar_list_model.h"

#include <QString>
#include <QtQml/qqml.h>

namespace SidebarRows {
// One row of the nodes list with the title of its section.
struct NodeEntry {
    QString key; // the node's public key
    QString section;
    Contact contact;
    bool isFavorite = false;

    bool operator==(const NodeEntry&) const = default;
};
} // namespace SidebarRows

// The sidebar's nodes mode: repeaters, sensors and nodes of unknown kind that
// pass the search, favourites first in their own section.
class NodeListModel : public SidebarListModel {
    Q_OBJECT
    QML_ELEMENT

public:
    enum Role {
        KeyRole = Qt::UserRole + 1,
        SectionRole,
        TitleRole,
        InitialsRole,
        AvatarSymbolRole, // empty for companions
        TypeNameRole,
        RouteSymbolRole,
        RouteTintRole, // a name for Theme.tint()
        HasLocationRole,
        IsFavoriteRole,
        SpokenTextRole, // what a screen reader announces for the row
    };
    Q_ENUM(Role)

    explicit NodeListModel(QObject* parent = nullptr);

    int rowCount(const QModelIndex& parent = {}) const override {
        return parent.isValid() ? 0 : m_rows.count();
    }
    QVariant data(const QModelIndex& index, int role) const override;
    QHash<int, QByteArray> roleNames() const override;
    int rowOfKey(const QString& key) const override { return m_rows.rowOfKey(key); }
    QString keyAt(int row) const override { return m_rows.keyAt(row); }

private:
    void followRows(MeshController* controller) override;
    void applyRows(bool asReset) override;
    QList<SidebarRows::NodeEntry> computeRows();

    SyncedRows<SidebarListModel, SidebarRows::NodeEntry> m_rows{*this};
};
