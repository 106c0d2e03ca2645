#pragma once

#include <QString>

namespace tarvinel {

/// Puts a text on the desktop's clipboard. Under Wayland a program without the focus may not, and a
/// click in the tray gives none: there `wl-copy` does it where it is installed. Does not wait.
void copyToClipboard(const QString& text);

}  // namespace tarvinel
