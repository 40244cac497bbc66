#pragma once

#include "model/device_records.h"
#include "synced_list_model.h"

#include <QPointer>
#include <QString>
#include <QtQml/qqml.h>

class MeshController;

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
class NodeListModel : public SyncedListModel<SidebarRows::NodeEntry> {
    Q_OBJECT
    QML_ELEMENT
    Q_PROPERTY(
        MeshController* controller READ controller WRITE setController NOTIFY controllerChanged)
    Q_PROPERTY(QString search READ search WRITE setSearch NOTIFY searchChanged)
    Q_PROPERTY(int count READ count NOTIFY countChanged)
    Q_PROPERTY(bool showEmptyState READ showEmptyState NOTIFY showEmptyStateChanged)

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
    };
    Q_ENUM(Role)

    explicit NodeListModel(QObject* parent = nullptr);

    MeshController* controller() const { return m_controller; }
    void setController(MeshController* controller);
    const QString& search() const { return m_search; }
    void setSearch(const QString& search);
    int count() const { return rowCount(); }
    bool showEmptyState() const { return m_showEmptyState; }

    QVariant data(const QModelIndex& index, int role) const override;
    QHash<int, QByteArray> roleNames() const override;

    Q_INVOKABLE int rowOfKey(const QString& key) const;
    Q_INVOKABLE QString keyAt(int row) const;

Q_SIGNALS:
    void controllerChanged();
    void searchChanged();
    void countChanged();
    void showEmptyStateChanged();

private:
    QList<SidebarRows::NodeEntry> computeRows();
    void setShowEmptyState(bool show);

    QPointer<MeshController> m_controller;
    QString m_search;
    bool m_showEmptyState = false;
};
