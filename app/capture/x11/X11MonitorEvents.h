#pragma once

#include <xcb/xcb.h>

#include <cstdint>
#include <optional>

namespace tarvinel {

class X11Connection;

/// Asks for the events that announce changes of the monitors. Must not outlive the connection.
class X11MonitorEvents {
 public:
  /// Throws X11Error when the connection is lost.
  /// A client has one event mask for the root window: `rootEvents` is asked for as well.
  explicit X11MonitorEvents(const X11Connection& connection, std::uint32_t rootEvents = 0);

  /// True when the monitors may be different now.
  bool isNotification(const xcb_generic_event_t& event) const;

 private:
  xcb_window_t root_;
  std::optional<std::uint8_t> firstEvent_;  ///< of RandR; none without it
};

}  // namespace tarvinel
