#pragma once

#include <array>
#include <compare>
#include <cstdint>
#include <functional>
#include <string>

namespace tarvinel {

/// A random 128-bit identifier (version 4, RFC 9562 section 5.4). Plain value.
class UUID {
 public:
  /// A fresh one from the system's random source. Safe from any thread.
  static UUID random();

  /// The 36-character lower-case form.
  std::string text() const;

  auto operator<=>(const UUID&) const = default;

 private:
  friend struct std::hash<UUID>;
  std::array<std::uint8_t, 16> bytes_{};
};

}  // namespace tarvinel

template <>
struct std::hash<tarvinel::UUID> {
  std::size_t operator()(const tarvinel::UUID& uuid) const noexcept;
};
