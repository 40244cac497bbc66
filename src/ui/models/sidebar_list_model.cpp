#include "sidebar_list_model.h"

#include "controller/mesh_controller.h"

SidebarListModel::SidebarListModel(QObject* parent)
    : ControllerBoundListModel(parent) {
    connect(this, &QAbstractItemModel::rowsInserted, this, &SidebarListModel::countChanged);
    connect(this, &QAbstractItemModel::rowsRemoved, this, &SidebarListModel::countChanged);
    connect(this, &QAbstractItemModel::modelReset, this, &SidebarListModel::countChanged);
}

void SidebarListModel::attach(MeshController* controller) {
    m_holding = false;
    if (controller) {
        followRows(controller);
        connect(controller, &MeshController::isReconnectingChanged, this,
                &SidebarListModel::followReconnection);
        connect(controller, &MeshController::isSyncingChanged, this,
                &SidebarListModel::followReconnection);
    }
    rebuild();
}

void SidebarListModel::followReconnection() {
    if (controller()->isReconnecting()) {
        m_holding = true;
        return;
    }
    // Back (or given up): the rows follow again once the handshake has read
    // the lists.
    if (!m_holding || controller()->isSyncing())
        return;
    m_holding = false;
    update();
}

void SidebarListModel::setSearch(const QString& search) {
    if (m_search == search)
        return;
    m_search = search;
    update();
    Q_EMIT searchChanged();
}

void SidebarListModel::setShowEmptyState(bool show) {
    if (m_showEmptyState == show)
        return;
    m_showEmptyState = show;
    Q_EMIT showEmptyStateChanged();
}
