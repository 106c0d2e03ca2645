#pragma once

#include <xcb/xcb.h>

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace tarvinel::x11 {

class Connection;

/// The value of a window's property, with what its owner says of it. Plain value.
struct Property {
  xcb_atom_t type = XCB_NONE;
  std::uint8_t format = 0;  ///< bits of one item: 8, 16 or 32
  std::string bytes;

  /// The items of a property of 32 bits; none of another.
  std::vector<std::uint32_t> numbers() const;
};

/// Asks for a property; a longer one is cut to `mostBytes`. Does not wait.
xcb_get_property_cookie_t askForProperty(const Connection& connection, xcb_window_t window,
                                         xcb_atom_t property, std::uint32_t mostBytes = 1024);

/// What came of it; none when there is no such property or window. Throws Error.
std::optional<Property> takeProperty(const Connection& connection,
                                     xcb_get_property_cookie_t cookie);

/// Both in one. Throws Error.
std::optional<Property> readProperty(const Connection& connection, xcb_window_t window,
                                     xcb_atom_t property);

/// The first item of a property of 32 bits; none of another. Pure.
std::optional<std::uint32_t> firstNumber(const std::optional<Property>& property);

}  // namespace tarvinel::x11
