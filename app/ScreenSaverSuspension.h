#pragma once

#include "app/capture/x11/X11Connection.h"

#include <string>

namespace tarvinel {

/// Keeps an X server from blanking its screen while it lives. Lives on the thread that made it.
class ScreenSaverSuspension {
 public:
  /// Connects to a display such as ":0". Throws X11Error; a server without the extension for it
  /// does what it always does.
  explicit ScreenSaverSuspension(const std::string& display);

 private:
  const X11Connection connection_;
};

}  // namespace tarvinel
