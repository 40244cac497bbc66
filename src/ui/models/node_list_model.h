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
// moc is shown the QObject class under the row template, which it cannot
// follow, so that QML's tooling knows every inherited property.
#ifdef Q_MOC_RUN
class NodeListModel : public SidebarListModel {
#else
class NodeListModel : public SidebarRowsModel<SidebarRows::NodeEntry> {
#endif
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

    QVariant data(const QModelIndex& index, int role) const override;
    QHash<int, QByteArray> roleNames() const override;

private:
    void followRows(MeshController* controller) override;
    QList<SidebarRows::NodeEntry> computeRows() override;
};
