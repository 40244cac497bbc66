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
        for (const auto changed :
             {&MeshController::isReconnectingChanged, &MeshController::isSyncingChanged,
              &MeshController::radioAwayChanged})
            connect(controller, changed, this, &SidebarListModel::followReconnection);
    }
    rebuild();
}

void SidebarListModel::followReconnection() {
    // Without a node book the radio's lists go while it is reconnected: the
    // rows keep what they show. With one the lists stand, and the rows follow
    // them (the book read while the radio is looked for, its answers after).
    if (controller()->isReconnecting() && !controller()->radioAway()) {
        m_holding = true;
        return;
    }
    // Back (or given up): the rows follow again once the handshake has read
    // the lists.
    if (!m_holding || (controller()->isSyncing() && !controller()->radioAway()))
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
