#pragma once

#include "app/capture/ScreenCaptureService.h"
#include "core/support/Geometry.h"

#include <xcb/xcb.h>

#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <string_view>
#include <vector>

namespace tarvinel::x11 {

class Connection;

class Connection;

class Connection;

/// Screen pixels per point, 1 to 3, from the desktop's resource database (lines such as
/// "Xft.dpi: 192"): the dots per inch divided by 96, rounded. 1 when there is no usable line.
int scaleFromResources(std::string_view resources);

/// The same from the database that the X server holds. Throws Error.
int desktopScale(const Connection& connection);

/// Asks for the events that announce changes of the monitors. Must not outlive the connection.
class MonitorEvents {
 public:
  /// Throws Error when the connection is lost.
  /// A client has one event mask for the root window: `rootEvents` is asked for as well.
  explicit MonitorEvents(const Connection& connection, std::uint32_t rootEvents = 0);

  /// True when the monitors may be different now.
  bool isNotification(const xcb_generic_event_t& event) const;

 private:
  xcb_window_t root_;
  std::optional<std::uint8_t> firstEvent_;  ///< of RandR; none without it
};

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
