#include "app/capture/x11/windows/Scale.h"

#include "app/x11/Connection.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <cstdint>
#include <optional>

namespace tarvinel::x11 {

namespace {

constexpr std::string_view blanks = " \t";

std::string_view afterBlanks(std::string_view text) {
  return text.substr(std::min(text.find_first_not_of(blanks), text.size()));
}

/// The dots per inch of one line of the database, if that is what it sets.
std::optional<double> dotsPerInch(std::string_view line) {
  constexpr std::string_view name = "Xft.dpi:";
  line = afterBlanks(line);
  if (!line.starts_with(name)) return std::nullopt;
  line = afterBlanks(line.substr(name.size()));
  double value = 0;
  const auto parsed = std::from_chars(line.data(), line.data() + line.size(), value);
  if (parsed.ec != std::errc() || !std::isfinite(value)) return std::nullopt;
  return value;
}

}  // namespace

int scaleFromResources(std::string_view resources) {
  double dpi = 96;
  while (!resources.empty()) {
    const std::size_t end = std::min(resources.find('\n'), resources.size());
    dpi = dotsPerInch(resources.substr(0, end)).value_or(dpi);
    resources.remove_prefix(std::min(end + 1, resources.size()));
  }
  return static_cast<int>(std::clamp(std::round(dpi / 96), 1.0, 3.0));
}

int desktopScale(const Connection& connection) {
  constexpr std::uint32_t words = 65536;  // 256 KiB; desktops have a few hundred bytes
  const auto property =
      connection.reply(xcb_get_property_reply,
                       xcb_get_property(connection.get(), 0, connection.root(),
                                        XCB_ATOM_RESOURCE_MANAGER, XCB_ATOM_STRING, 0, words));
  const auto sent = static_cast<std::size_t>(property->length) * 4;
  const auto said = static_cast<std::size_t>(property->value_len) * (property->format / 8U);
  return scaleFromResources(
      {static_cast<const char*>(xcb_get_property_value(property.get())), std::min(sent, said)});
}

}  // namespace tarvinel::x11
