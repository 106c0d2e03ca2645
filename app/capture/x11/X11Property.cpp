#include "app/capture/x11/X11Property.h"

#include "app/capture/x11/X11Connection.h"

#include <algorithm>
#include <cstring>

namespace tarvinel {

std::vector<std::uint32_t> X11Property::numbers() const {
  if (format != 32) return {};
  std::vector<std::uint32_t> items(bytes.size() / sizeof(std::uint32_t));
  if (!items.empty()) std::memcpy(items.data(), bytes.data(), items.size() * sizeof items[0]);
  return items;
}

xcb_get_property_cookie_t askForProperty(const X11Connection& connection, xcb_window_t window,
                                         xcb_atom_t property, std::uint32_t mostBytes) {
  return xcb_get_property(connection.get(), 0, window, property, XCB_GET_PROPERTY_TYPE_ANY, 0,
                          mostBytes / 4);
}

std::optional<X11Property> takeProperty(const X11Connection& connection,
                                        xcb_get_property_cookie_t cookie) {
  const auto reply = connection.replyIfAny(xcb_get_property_reply, cookie);
  if (!reply || reply->type == XCB_NONE) return std::nullopt;
  const auto sent = static_cast<std::size_t>(reply->length) * 4;
  const auto said = static_cast<std::size_t>(reply->value_len) * (reply->format / 8U);
  const auto* value = static_cast<const char*>(xcb_get_property_value(reply.get()));
  return X11Property{reply->type, reply->format, std::string(value, std::min(sent, said))};
}

std::optional<X11Property> readProperty(const X11Connection& connection, xcb_window_t window,
                                        xcb_atom_t property) {
  return takeProperty(connection, askForProperty(connection, window, property));
}

std::optional<std::uint32_t> firstNumber(const std::optional<X11Property>& property) {
  const auto numbers = property ? property->numbers() : std::vector<std::uint32_t>{};
  return numbers.empty() ? std::nullopt : std::optional(numbers.front());
}

}  // namespace tarvinel
