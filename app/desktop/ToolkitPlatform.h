#pragma once

#include <functional>
#include <optional>
#include <string>

namespace tarvinel {

/// What the environment says of displays; a variable that is not set is empty.
struct DisplayEnvironment {
  std::string chosen;          ///< QT_QPA_PLATFORM
  std::string display;         ///< DISPLAY
  std::string waylandDisplay;  ///< WAYLAND_DISPLAY

  /// That of this process. Call it before there are other threads.
  static DisplayEnvironment current();
};

/// Tells whether the toolkit could use a display. They may block.
struct DisplayProbes {
  std::function<bool(const std::string&)> x11;      ///< one such as ":0"
  std::function<bool(const std::string&)> wayland;  ///< one such as "wayland-0"

  /// The real ones.
  static DisplayProbes real();
};

/// The toolkit's platform for this session, "xcb" or "wayland", or whatever the environment names;
/// nothing when no display answers: the toolkit would then abort the program. Pure but for the
/// probes.
std::optional<std::string> toolkitPlatform(const DisplayEnvironment& environment,
                                           const DisplayProbes& probes);

}  // namespace tarvinel
