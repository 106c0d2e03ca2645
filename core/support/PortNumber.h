#pragma once

#include <charconv>
#include <cstdint>
#include <optional>
#include <string_view>
#include <system_error>

namespace tarvinel {

/// Returns the number, from 0 to 65535, that a text represents, or nullopt for any other text.
inline std::optional<std::uint16_t> portNumber(std::string_view text) {
  std::uint16_t number = 0;
  const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
  if (error != std::errc() || end != text.data() + text.size()) return std::nullopt;
  return number;
}

}  // namespace tarvinel
