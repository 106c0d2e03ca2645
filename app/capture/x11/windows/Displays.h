#pragma once

#include "app/capture/ShareableContent.h"
#include "core/support/PixelRect.h"

#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <vector>

namespace tarvinel::x11 {

class Connection;

/// One monitor as the X server arranges it.
struct Display {
  std::uint32_t id = 0;  ///< the monitor's name atom; the root window where there are no monitors
  PixelRect area;        ///< its place on the root window, never empty
  bool isMain = false;

  bool operator==(const Display&) const = default;
};

/// The monitors in the body of a RandR monitor list of `count` entries, cut to what lies on the
/// root window; those without an area are left out. The primary one is the main one, else the
/// first. Throws Error when the bytes do not hold so many entries.
std::vector<Display> parseMonitors(std::span<const std::byte> body, std::size_t count,
                                   const PixelRect& rootArea);

/// The monitors of the server now; the root window when it knows of none. Throws Error.
std::vector<Display> listDisplays(const Connection& connection);

/// The display with that number as it is now; none when it is gone. Throws Error.
std::optional<Display> findDisplay(const Connection& connection, std::uint32_t id);

/// The same, but throws Error (displayGone) when there is none.
Display requireDisplay(const Connection& connection, std::uint32_t id);

/// The display as it is offered, measured in points of `scale` pixels.
ShareableDisplay shareableDisplay(const Display& display, int scale);

}  // namespace tarvinel::x11
