#pragma once

#include <systemd/sd-id128.h>

#include <cstddef>
#include <functional>
#include <string>

namespace tarvinel {

/// A random 128-bit identifier (version 4, RFC 9562 section 5.4). A plain value.
class UUID {
 public:
  /// Makes an identifier from the system's random source. Safe from any thread.
  static UUID random();

  /// Returns the 36-character lower-case form.
  std::string text() const;

  bool operator==(const UUID& other) const { return sd_id128_equal(id_, other.id_) != 0; }

 private:
  friend struct std::hash<UUID>;
  sd_id128_t id_{};
};

}  // namespace tarvinel

template <>
struct std::hash<tarvinel::UUID> {
  std::size_t operator()(const tarvinel::UUID& uuid) const noexcept;
};
