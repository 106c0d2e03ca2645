#pragma once

#include <xcb/xcb.h>

#include <cstdint>

namespace tarvinel {

/// The number of an event, whether the server sent it or another client.
inline std::uint8_t eventCode(const xcb_generic_event_t& event) {
  return static_cast<std::uint8_t>(event.response_type & 0x7FU);
}

}  // namespace tarvinel
