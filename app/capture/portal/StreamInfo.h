#pragma once

#include "core/support/Geometry.h"

#include <cstdint>
#include <optional>
#include <string>

struct sd_bus_message;

namespace tarvinel::portal {

/// What the desktop gives when the presenter agreed. Plain value.
struct StreamInfo {
  std::uint32_t node = 0;                   ///< where the pictures come from, in the media server
  std::optional<Size> points;               ///< the size of what is shared, when told
  bool cursorIsApart = false;               ///< told beside the pictures instead of drawn in them
  std::optional<std::string> restoreToken;  ///< begins the same again without a dialog, once

  /// Reads the results of a start. Throws Error when there is no stream among them.
  static StreamInfo read(sd_bus_message& results);
};

}  // namespace tarvinel::portal
