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
    if (controller)
        attach(controller);
    rebuild();
    Q_EMIT controllerChanged();
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
