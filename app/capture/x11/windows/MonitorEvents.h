#pragma once

#include <xcb/xcb.h>

#include <cstdint>
#include <optional>

namespace tarvinel::x11 {

class Connection;

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

}  // namespace tarvinel::x11
