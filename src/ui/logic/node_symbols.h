#pragma once

#include "model/mesh_enums.h"
#include "ui/logic/tint.h"

#include <QString>
#include <optional>

namespace ViewLogic {

// The icon an avatar shows for a node type; none for companions, whose
// avatar shows their initials.
std::optional<QString> nodeAvatarSymbol(MeshProtocol::AdvertType type);
// The icon beside a node's type name ("person.fill" for companions).
QString nodeTypeLabelSymbol(MeshProtocol::AdvertType type);

// Route icon of a node: an orange swap arrow without a known path (negative
// path length, the radio floods), a green arrow with one.
struct RouteSymbol {
    QString symbol;
    Tint tint = Tint::secondary;

    bool operator==(const RouteSymbol&) const = default;
};
RouteSymbol routeSymbol(int outPathLength);

} // namespace ViewLogic
