#include "ui/logic/node_symbols.h"

namespace ViewLogic {

using MeshProtocol::AdvertType;

std::optional<QString> nodeAvatarSymbol(AdvertType type) {
    if (type == AdvertType::chat)
        return std::nullopt;
    return nodeTypeLabelSymbol(type);
}

QString nodeTypeLabelSymbol(AdvertType type) {
    switch (type) {
    case AdvertType::none:
        break;
    case AdvertType::chat:
        return QStringLiteral("person.fill");
    case AdvertType::repeaterNode:
        return QStringLiteral("antenna.radiowaves.left.and.right");
    case AdvertType::room:
        return QStringLiteral("bubble.left.and.bubble.right.fill");
    case AdvertType::sensor:
        return QStringLiteral("sensor.fill");
    }
    return QStringLiteral("questionmark.circle");
}

RouteSymbol routeSymbol(int outPathLength) {
    if (outPathLength < 0)
        return {QStringLiteral("arrow.triangle.swap"), Tint::orange};
    return {QStringLiteral("arrow.up.right.circle.fill"), Tint::green};
}

} // namespace ViewLogic
