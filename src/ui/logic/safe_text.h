#pragma once

#include "text/safe_text.h"

// The window's labels show text from the mesh as everything that leaves the
// app does (text/safe_text.h).
namespace ViewLogic {
using Text::safeBody;
using Text::safeName;
using Text::safeNameLength;
using Text::safePreview;
using Text::safePreviewLength;
} // namespace ViewLogic
