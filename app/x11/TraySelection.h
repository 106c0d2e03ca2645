#pragma once

#include <string>

namespace tarvinel::x11 {

/// The name of the X selection that a tray owns which embeds windows: that of the screen of a
/// display such as ":0.1"; of $DISPLAY for null.
std::string traySelection(const char* display);

}  // namespace tarvinel::x11
