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
inline constexpr std::int32_t unknown = -65537;       ///< also: nobody there who could publish
inline constexpr std::int32_t nameConflict = -65548;  ///< someone else has the name
inline constexpr std::int32_t notPermitted = -65555;
inline constexpr std::int32_t policyDenied = -65570;  ///< local network privacy refuses
inline constexpr std::int32_t notAllowed = -65571;    ///< the same

}  // namespace DNSServiceCode

/// One IPv4 address record of a name, on the local network for as long as the registrar lives.
///
/// Lives on the queue given to its factory: made, called, answered and destroyed there. Nothing
/// here waits for another process or for the network.
class NameRegistrar {
 public:
  using Address = std::array<std::uint8_t, 4>;  ///< in the order written

  /// Takes a `DNSServiceCode`. Called whenever what has become of the record changes: registered,
  /// taken by someone else (at once or later), failed.
  using Reply = std::function<void(std::int32_t code)>;

  using Factory =
      std::function<std::unique_ptr<NameRegistrar>(SerialQueue& queue, const Logger& logger)>;

  /// Withdraws the record. No reply comes any more.
  virtual ~NameRegistrar() = default;
  NameRegistrar() = default;
  NameRegistrar(const NameRegistrar&) = delete;
  NameRegistrar& operator=(const NameRegistrar&) = delete;

  /// Begins to register the record under `name`, such as "studio.local."; to be called once.
  /// Returns a `DNSServiceCode`; unless that is an error, the outcome comes as a reply, which never
  /// comes during the call.
  virtual std::int32_t registerRecord(const std::string& name, Address address, Reply reply) = 0;

  /// Gives the registered record another address, without taking it off the network. Returns a
  /// `DNSServiceCode`; a failure that shows later comes as a reply.
  virtual std::int32_t update(Address address) = 0;
};

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
