#pragma once

#include "core/mdns/DNSServiceCode.h"

#include <cstdint>
#include <optional>

namespace tarvinel {

/// What both of Avahi's interfaces, the daemon's and the library's, have in common about a record.
class AddressRecord {
 public:
  AddressRecord() = delete;

  /// Seconds for which others may keep what they were told; what responders give to host names.
  static constexpr std::uint32_t timeToLive = 120;

  /// The outcome that the state of a group of records stands for; nothing while it is open.
  static std::optional<std::int32_t> codeOfGroupState(std::int32_t state) {
    switch (state) {
      case established:
        return DNSServiceCode::noError;
      case collision:
        return DNSServiceCode::nameConflict;
      case failure:
        return DNSServiceCode::unknown;
      default:
        return std::nullopt;
    }
  }

 private:
  static constexpr std::int32_t established = 2;
  static constexpr std::int32_t collision = 3;
  static constexpr std::int32_t failure = 4;
};

}  // namespace tarvinel
