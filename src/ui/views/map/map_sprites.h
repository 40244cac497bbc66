#pragma once

#include "model/mesh_enums.h"

#include <QColor>
#include <QImage>

// The pictures of markers: a disc in the colour of the node's type with the
// type's symbol, the user's own radio as a dot with a halo, and a group as
// a disc with its count.
namespace MapSprites {

// Logical sizes; the images are drawn at the screen's pixel ratio.
inline constexpr int markerSize = 26;
inline constexpr int selfSize = 34;
inline constexpr int groupSize = 32;

QColor typeColor(MeshProtocol::AdvertType type);
QImage marker(MeshProtocol::AdvertType type, qreal pixelRatio);
QImage self(qreal pixelRatio);
// "2" .. "99", then "99+".
QImage group(int count, qreal pixelRatio);

} // namespace MapSprites
