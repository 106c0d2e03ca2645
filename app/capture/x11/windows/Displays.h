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

/// Returns the screen pixels per point, 1 to 3, from the desktop's resource database (lines such as
/// "Xft.dpi: 192"): the dots per inch divided by 96, rounded; 1 if there is no usable line.
int scaleFromResources(std::string_view resources);

/// Returns the same from the database that the X server holds. Throws Error.
int desktopScale(const Connection& connection);

/// Selects the events that report changes of the monitors. Must not outlive the connection.
class MonitorEvents {
 public:
  /// A client has one event mask for the root window, so `rootEvents` are selected as well. Throws
  /// Error if the connection is lost.
  explicit MonitorEvents(const Connection& connection, std::uint32_t rootEvents = 0);

  /// Returns whether the event may mean that the monitors changed.
  bool isNotification(const xcb_generic_event_t& event) const;

 private:
  xcb_window_t root_;
  std::optional<std::uint8_t> firstEvent_;  ///< of RandR; nullopt without it
};

/// One monitor as the X server arranges it.
struct Display {
  std::uint32_t id = 0;  ///< the monitor's name atom; the root window if there are no monitors
  PixelRect area;        ///< its place on the root window, never empty
  bool isMain = false;

  bool operator==(const Display&) const = default;
};

/// Returns the monitors in the body of a RandR monitor list of `count` entries, clipped to the root
/// window; those without an area are left out. The primary one is the main one, else the first.
/// Throws Error if the bytes do not hold so many entries.
std::vector<Display> parseMonitors(std::span<const std::byte> body, std::size_t count,
                                   const PixelRect& rootArea);

/// Returns the server's current monitors, or the root window if there are none. Throws Error.
std::vector<Display> listDisplays(const Connection& connection);

/// Returns the current state of a display, or nullopt if it no longer exists. Throws Error.
std::optional<Display> findDisplay(const Connection& connection, std::uint32_t id);

/// Returns the same, but throws Error (displayGone) if it no longer exists.
Display requireDisplay(const Connection& connection, std::uint32_t id);

/// Returns the display as it is listed, measured in points of `scale` pixels.
ShareableDisplay shareableDisplay(const Display& display, int scale);

}  // namespace tarvinel::x11
