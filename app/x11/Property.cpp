#include "app/x11/Property.h"

#include "app/x11/Connection.h"

#include <algorithm>
#include <cstring>

namespace tarvinel::x11 {

std::vector<std::uint32_t> Property::numbers() const {
  if (format != 32) return {};
  std::vector<std::uint32_t> items(bytes.size() / sizeof(std::uint32_t));
  if (!items.empty()) std::memcpy(items.data(), bytes.data(), items.size() * sizeof items[0]);
  return items;
}

xcb_get_property_cookie_t askForProperty(const Connection& connection, xcb_window_t window,
                                         xcb_atom_t property, std::uint32_t mostBytes) {
  return xcb_get_property(connection.get(), 0, window, property, XCB_GET_PROPERTY_TYPE_ANY, 0,
                          mostBytes / 4);
}

std::optional<Property> takeProperty(const Connection& connection,
                                     xcb_get_property_cookie_t cookie) {
  const auto reply = connection.replyIfAny(xcb_get_property_reply, cookie);
  if (!reply || reply->type == XCB_NONE) return std::nullopt;
  const auto sent = static_cast<std::size_t>(reply->length) * 4;
  const auto said = static_cast<std::size_t>(reply->value_len) * (reply->format / 8U);
  const auto* value = static_cast<const char*>(xcb_get_property_value(reply.get()));
  return Property{reply->type, reply->format, std::string(value, std::min(sent, said))};
}

std::optional<Property> readProperty(const Connection& connection, xcb_window_t window,
                                     xcb_atom_t property) {
  return takeProperty(connection, askForProperty(connection, window, property));
}

std::optional<std::uint32_t> firstNumber(const std::optional<Property>& property) {
  const auto numbers = property ? property->numbers() : std::vector<std::uint32_t>{};
  return numbers.empty() ? std::nullopt : std::optional(numbers.front());
}

}  // namespace tarvinel::x11
