#pragma once

#include <functional>
#include <optional>
#include <string>

namespace tarvinel {

/// The environment's variables on displays; an unset variable is empty.
struct DisplayEnvironment {
  std::string chosen;          ///< QT_QPA_PLATFORM
  std::string display;         ///< DISPLAY
  std::string waylandDisplay;  ///< WAYLAND_DISPLAY

  /// Reads this process's environment. Call it before other threads exist.
  static DisplayEnvironment current();
};

/// Functions that return whether the toolkit can use a display. They may block.
struct DisplayProbes {
  std::function<bool(const std::string&)> x11;      ///< takes a name such as ":0"
  std::function<bool(const std::string&)> wayland;  ///< takes a name such as "wayland-0"

  /// Returns probes of the real displays.
  static DisplayProbes real();
};

/// Returns the toolkit's platform for this session: the one that the environment chooses, else
/// "xcb" or "wayland"; nullopt if no display responds, since the toolkit would then abort the
/// program. Pure but for the probes.
std::optional<std::string> toolkitPlatform(const DisplayEnvironment& environment,
                                           const DisplayProbes& probes);

}  // namespace tarvinel
