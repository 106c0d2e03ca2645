#pragma once

#include "app/x11/Connection.h"

#include <string>

namespace tarvinel::x11 {

/// Keeps an X server from blanking its screen while this exists. Lives on the thread that made it.
class ScreenSaverSuspension {
 public:
  /// Connects to a display such as ":0". Throws Error; a server without the extension for it is not
  /// affected.
  explicit ScreenSaverSuspension(const std::string& display);

 private:
  const Connection connection_;
};

}  // namespace tarvinel::x11
