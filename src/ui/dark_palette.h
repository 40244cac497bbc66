#pragma once

#include <QPalette>

// A dark palette for Fusion, for desktops that do not hand one over and for
// screenshots of the dark look.
QPalette darkPalette();
