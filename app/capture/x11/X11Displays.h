#pragma once

#include "app/capture/PixelRect.h"
#include "app/capture/ShareableContent.h"

#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <vector>

namespace tarvinel {

class X11Connection;

/// One monitor as the X server arranges it.
struct X11Display {
  std::uint32_t id = 0;  ///< the monitor's name atom; the root window where there are no monitors
  PixelRect area;        ///< its place on the root window, never empty
  bool isMain = false;

  bool operator==(const X11Display&) const = default;
};

/// The monitors in the body of a RandR monitor list of `count` entries, cut to what lies on the
/// root window; those without an area are left out. The primary one is the main one, else the
/// first. Throws X11Error when the bytes do not hold so many entries.
std::vector<X11Display> parseMonitors(std::span<const std::byte> body, std::size_t count,
                                      const PixelRect& rootArea);

/// The monitors of the server now; the root window when it knows of none. Throws X11Error.
std::vector<X11Display> listDisplays(const X11Connection& connection);

/// The display with that number as it is now; none when it is gone. Throws X11Error.
std::optional<X11Display> findDisplay(const X11Connection& connection, std::uint32_t id);

/// The same, but throws X11Error (displayGone) when there is none.
X11Display requireDisplay(const X11Connection& connection, std::uint32_t id);

/// The display as it is offered, measured in points of `scale` pixels.
ShareableDisplay shareableDisplay(const X11Display& display, int scale);

}  // namespace tarvinel
