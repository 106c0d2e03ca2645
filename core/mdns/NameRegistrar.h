#pragma once

#include "core/support/Log.h"

#include <array>
#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>

namespace tarvinel {

class SerialQueue;

namespace DNSServiceCode {

inline constexpr std::int32_t noError = 0;
inline constexpr std::int32_t unknown = -65537;       ///< also: nothing there that could publish
inline constexpr std::int32_t nameConflict = -65548;  ///< another computer has the name
inline constexpr std::int32_t notPermitted = -65555;
inline constexpr std::int32_t policyDenied = -65570;  ///< local network privacy denies it
inline constexpr std::int32_t notAllowed = -65571;    ///< as policyDenied

}  // namespace DNSServiceCode

/// One IPv4 address record of a name, published on the local network while the registrar exists.
///
/// Lives on the queue given to its factory: made, called and destroyed there, and replies come
/// there. Nothing here waits for another process or for the network.
class NameRegistrar {
 public:
  using Address = std::array<std::uint8_t, 4>;  ///< in the order written

  /// Takes a `DNSServiceCode`. Called whenever the state of the record changes: registered, taken
  /// by another computer (at once or later), failed.
  using Reply = std::function<void(std::int32_t code)>;

  using Factory =
      std::function<std::unique_ptr<NameRegistrar>(SerialQueue& queue, const Logger& logger)>;

  /// Withdraws the record. No reply follows.
  virtual ~NameRegistrar() = default;
  NameRegistrar() = default;
  NameRegistrar(const NameRegistrar&) = delete;
  NameRegistrar& operator=(const NameRegistrar&) = delete;

  /// Starts registering the record under `name`, such as "studio.local."; called once. Returns a
  /// `DNSServiceCode`; unless that is an error, the outcome follows as a reply, never during the
  /// call.
  virtual std::int32_t registerRecord(const std::string& name, Address address, Reply reply) = 0;

  /// Changes the address of the registered record without withdrawing it. Returns a
  /// `DNSServiceCode`; a failure that occurs later follows as a reply.
  virtual std::int32_t update(Address address) = 0;
};

/// Properties of a record that Avahi's interfaces, the daemon's and the library's, share.
class AddressRecord {
 public:
  AddressRecord() = delete;

  /// The seconds for which others may cache the record; usual for host names.
  static constexpr std::uint32_t timeToLive = 120;

  /// Returns the outcome of a state of a group of records, or nullopt while it is open.
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
