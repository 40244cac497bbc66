#pragma once

#include "protocol/mesh_event.h"

#include <QByteArray>

// Renders a decoded frame as one line of compact JSON for the frame
// inspector: {"event":"<case name>", ...}. Members keep a fixed order so
// that the output reads the same from run to run and diffs well.
namespace FrameJson {

QByteArray render(const MeshEvent& event);

} // namespace FrameJson
