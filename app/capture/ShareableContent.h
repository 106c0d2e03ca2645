#pragma once

#include "core/support/Geometry.h"

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace tarvinel {

/// A display as a capture service reports it.
struct ShareableDisplay {
  std::uint32_t displayID = 0;
  Rect frame;  ///< global screen points
  bool isMain = false;
};

/// A running application as a capture service reports it.
struct ShareableApplication {
  std::int32_t processID = 0;
  std::optional<std::string> name;  ///< for people
  std::optional<std::string> bundleID;
};

/// An on-screen window as a capture service reports it.
struct ShareableWindow {
  std::uint32_t windowID = 0;
  std::optional<std::string> title;
  std::optional<ShareableApplication> application;  ///< absent: no owning application
  std::int64_t layer = 0;                           ///< 0 is the normal application layer
  Rect frame;                                       ///< global screen points
};

/// Something to share that is settled only in a dialog of the desktop when it is shared.
struct ShareableChoice {
  enum class Kind : std::uint8_t { display, window };

  Kind kind = Kind::display;
  std::uint32_t number = 0;  ///< as of a display or window
  std::string title;
  Size size;  ///< points; assumed until a frame tells
};

/// What can be shared now, in the service's order.
struct ShareableContent {
  std::vector<ShareableDisplay> displays;
  std::vector<ShareableWindow> windows;
  std::vector<ShareableWindow> windowsOutOfSight;  ///< minimised, on another workspace: not offered
  std::vector<ShareableChoice> choices;
};

}  // namespace tarvinel
