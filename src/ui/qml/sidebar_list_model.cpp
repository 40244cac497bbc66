#include "sidebar_list_model.h"

#include "controller/mesh_controller.h"

SidebarListModel::SidebarListModel(QObject* parent)
    : QAbstractListModel(parent) {
    connect(this, &QAbstractItemModel::rowsInserted, this, &SidebarListModel::countChanged);
    connect(this, &QAbstractItemModel::rowsRemoved, this, &SidebarListModel::countChanged);
    connect(this, &QAbstractItemModel::modelReset, this, &SidebarListModel::countChanged);
}

void SidebarListModel::setController(MeshController* controller) {
    if (m_controller == controller)
        return;
    if (m_controller)
        m_controller->disconnect(this);
    m_controller = controller;
    m_holding = false;
    if (controller) {
        attach(controller);
        connect(controller, &MeshController::isReconnectingChanged, this,
                &SidebarListModel::followReconnection);
        connect(controller, &MeshController::isSyncingChanged, this,
                &SidebarListModel::followReconnection);
    }
    rebuild();
    Q_EMIT controllerChanged();
}

void SidebarListModel::followReconnection() {
    if (m_controller->isReconnecting()) {
        m_holding = true;
        return;
    }
    // Back (or given up): the rows follow again once the handshake has read
    // the lists.
    if (!m_holding || m_controller->isSyncing())
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
