#pragma once

#include <xcb/xcb.h>

#include <cstdint>

namespace tarvinel::x11 {

/// The number of an event, whether the server sent it or another client.
inline std::uint8_t eventCode(const xcb_generic_event_t& event) {
  return static_cast<std::uint8_t>(event.response_type & 0x7FU);
}

/// True when a client made the event up: what it tells need not have happened.
inline bool isSynthetic(const xcb_generic_event_t& event) {
  return (event.response_type & 0x80U) != 0;
}

/// True when the server had not yet done the request of that number when the event happened.
inline bool isBefore(const xcb_generic_event_t& event, std::uint32_t sequence) {
  return static_cast<std::int32_t>(event.full_sequence - sequence) < 0;
}

/// The event as one of xcb's records; its code tells which.
template <class Record>
const Record& eventAs(const xcb_generic_event_t& event) {
  return reinterpret_cast<const Record&>(event);
}

}  // namespace tarvinel::x11
