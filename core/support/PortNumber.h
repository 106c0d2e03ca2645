#pragma once

#include <charconv>
#include <cstdint>
#include <optional>
#include <string_view>
#include <system_error>

namespace tarvinel {

/// The number that a text is, from 0 to 65535; nothing when it is anything else.
inline std::optional<std::uint16_t> portNumber(std::string_view text) {
  std::uint16_t number = 0;
  const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
  if (error != std::errc() || end != text.data() + text.size()) return std::nullopt;
  return number;
}

}  // namespace tarvinel
