#pragma once

#include <cstdint>
#include <string_view>
#include <vector>

namespace tarvinel {

/// An owned sequence of bytes.
using Bytes = std::vector<std::uint8_t>;

/// Returns the bytes of a text, unchanged.
inline Bytes bytesOf(std::string_view text) {
  return {text.begin(), text.end()};
}

/// Returns a view of bytes as text; nothing is checked or copied.
inline std::string_view textOf(const Bytes& bytes) {
  return {reinterpret_cast<const char*>(bytes.data()), bytes.size()};
}

}  // namespace tarvinel
