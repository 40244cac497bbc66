#include "node_list_model.h"

#include "controller/mesh_controller.h"
#include "logic/conversation_row.h"
#include "logic/node_details.h"
#include "logic/node_symbols.h"
#include "logic/safe_text.h"
#include "logic/sidebar_lists.h"
#include "logic/spoken_text.h"
#include "look.h"

using SidebarRows::NodeEntry;

NodeListModel::NodeListModel(QObject* parent)
    : SidebarRowsModel(parent) {}

void NodeListModel::followRows(MeshController* controller) {
    const auto sync = [this] { update(); };
    connect(controller, &MeshController::contactInserted, this, sync);
    connect(controller, &MeshController::contactChanged, this, sync);
    connect(controller, &MeshController::contactRemoved, this, sync);
    connect(controller, &MeshController::contactsReordered, this, sync);
    connect(controller, &MeshController::favoritesChanged, this, sync);
    connect(controller, &MeshController::contactsReset, this, [this] { rebuild(); });
}

QList<NodeEntry> NodeListModel::computeRows() {
    if (!controller()) {
        setShowEmptyState(false);
        return {};
    }
    const ViewLogic::NodesList list =
        ViewLogic::nodesList(controller()->contacts(), controller()->favorites(), search());
    setShowEmptyState(list.showEmptyState);
    QList<NodeEntry> entries;
    const QString favorites = qtTrId("sidebar.section.favorites");
    const QString others = qtTrId(list.othersTitleKey.constData());
    for (const Contact& contact : list.favorites)
        entries.append({contact.publicKey, favorites, contact, true});
    for (const Contact& contact : list.others)
        entries.append({contact.publicKey, others, contact, false});
    return entries;
}

QVariant NodeListModel::data(const QModelIndex& index, int role) const {
    if (!checkIndex(index, CheckIndexOption::IndexIsValid))
        return {};
    const NodeEntry& entry = rows().at(index.row());
    const Contact& contact = entry.contact;
    switch (role) {
    case KeyRole:
        return entry.key;
    case SectionRole:
        return entry.section;
    case TitleRole:
        return ViewLogic::safeName(ViewLogic::contactTitle(contact));
    case InitialsRole:
        return ViewLogic::safeName(contact.initials());
    case AvatarSymbolRole:
        return ViewLogic::nodeAvatarSymbol(contact.type).value_or(QString());
    case TypeNameRole:
        return MeshProtocol::displayName(contact.type);
    case RouteSymbolRole:
        return ViewLogic::routeSymbol(contact.outPathLength).symbol;
    case RouteTintRole:
        return Look::tintName(ViewLogic::routeSymbol(contact.outPathLength).tint);
    case HasLocationRole:
        return contact.latitude != 0 || contact.longitude != 0;
    case IsFavoriteRole:
        return entry.isFavorite;
    case SpokenTextRole:
        return ViewLogic::nodeRowSpoken(
            ViewLogic::contactTitle(contact), MeshProtocol::displayName(contact.type),
            contact.outPathLength, ViewLogic::hasPosition(contact.latitude, contact.longitude),
            entry.isFavorite);
    }
    return {};
}

QHash<int, QByteArray> NodeListModel::roleNames() const {
    return {
        {KeyRole, "key"},
        {SectionRole, "section"},
        {TitleRole, "title"},
        {InitialsRole, "initials"},
        {AvatarSymbolRole, "avatarSymbol"},
        {TypeNameRole, "typeName"},
        {RouteSymbolRole, "routeSymbol"},
        {RouteTintRole, "routeTint"},
        {HasLocationRole, "hasLocation"},
        {IsFavoriteRole, "isFavorite"},
        {SpokenTextRole, "spokenText"},
    };
}
