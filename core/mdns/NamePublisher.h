#pragma once

#include "core/mdns/NameRegistrar.h"
#include "core/support/Log.h"
#include "core/support/SerialQueue.h"

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <stdexcept>
#include <string>
#include <string_view>
#include <variant>

namespace tarvinel {

/// The error of a name that was not published, or of a record that was not updated.
class NamePublisherError : public std::runtime_error {
 public:
  enum class Case : std::uint8_t {
    daemon,          ///< the responder reported an error; see `code`
    invalidName,     ///< not a host label
    invalidAddress,  ///< not a dotted IPv4 address
    notPublished,    ///< there is no record to update
  };

  static NamePublisherError daemon(std::int32_t code) {
    return {Case::daemon, code, "DNS service error " + std::to_string(code)};
  }
  static NamePublisherError invalidName() { return {Case::invalidName, 0, "invalid host name"}; }
  static NamePublisherError invalidAddress() {
    return {Case::invalidAddress, 0, "invalid IPv4 address"};
  }
  static NamePublisherError notPublished() {
    return {Case::notPublished, 0, "the name is not published"};
  }

  Case kind() const { return kind_; }

  /// Returns a `DNSServiceCode`; 0 for the cases without one.
  std::int32_t code() const { return code_; }

 private:
  NamePublisherError(Case kind, std::int32_t code, const std::string& text)
      : std::runtime_error(text), kind_(kind), code_(code) {}

  Case kind_;
  std::int32_t code_;
};

/// Makes this computer reachable in the room under its host label followed by ".local": publishes
/// one IPv4 address record, keeps it up to date and withdraws it.
///
/// The operations can be called on any thread except the publisher's own queue, ".mdns", which they
/// enter and wait for; nothing on that queue waits for another process or for the network.
class NamePublisher {
 public:
  // states of a registration

  struct Failed {
    std::int32_t code;  ///< a `DNSServiceCode`
    bool operator==(const Failed&) const = default;
  };
  struct Registered {
    bool operator==(const Registered&) const = default;
  };
  /// Another computer on this network has the name.
  struct Conflict {
    bool operator==(const Conflict&) const = default;
  };
  /// The privacy settings of the system do not permit it.
  struct Denied {
    bool operator==(const Denied&) const = default;
  };
  using State = std::variant<Failed, Registered, Conflict, Denied>;

  // what to do about the name at a tick

  struct Update {
    std::string address;
    bool operator==(const Update&) const = default;
  };
  struct Publish {
    std::optional<std::string> address;
    bool operator==(const Publish&) const = default;
  };
  struct None {
    bool operator==(const None&) const = default;
  };
  using TickAction = std::variant<Update, Publish, None>;

  /// The input of `tickAction`.
  struct TickState {
    bool hostnameEnabled = false;
    std::optional<std::string> lastHost;  ///< the address last published or attempted
    std::optional<std::string> current;   ///< the address preferred now
    bool registered = false;              ///< the name is published
    bool failed = false;                  ///< the last attempt failed
    bool retryDue = false;                ///< the retry interval is over
  };

  /// Does not publish yet.
  NamePublisher(NameRegistrar::Factory makeRegistrar, Logger logger);

  /// Withdraws the name.
  ~NamePublisher();
  NamePublisher(const NamePublisher&) = delete;
  NamePublisher& operator=(const NamePublisher&) = delete;

  /// Starts publishing a host label with a dotted IPv4 address, after withdrawing what was
  /// published before. The outcome is reported as a state. Throws NamePublisherError: an invalid
  /// name or address changes nothing.
  void publish(std::string_view name, const std::string& address);

  /// Changes the address of the published record. Throws NamePublisherError.
  void update(const std::string& address);

  /// Withdraws the published name, if any.
  void stop();

  /// Sets a callback for every state of the registration, which is called on the publisher's queue.
  void setOnState(std::function<void(State)> onState);

  /// Returns the published label, lower-cased.
  std::optional<std::string> publishedName();

  /// Returns whether it is 1 to 63 ASCII letters, digits and inner hyphens.
  static bool isValidLabel(std::string_view label);

  /// Returns the bytes of a dotted decimal IPv4 address.
  static std::optional<NameRegistrar::Address> rdata(std::string_view address);

  /// Returns the label lower-cased, followed by ".local.".
  static std::string fullName(std::string_view label);

  /// Returns the state for a `DNSServiceCode`.
  static State state(std::int32_t code);

  static TickAction tickAction(const TickState& state);

 private:
  /// What replies use instead of the publisher itself. Used on the queue only.
  struct Callbacks {
    std::function<void(State)> onState;
  };

  void registerRecord(std::string_view label, const std::string& address,
                      NameRegistrar::Address bytes);
  void updateRecord(const std::string& address, NameRegistrar::Address bytes);
  void tearDown();

  SerialQueue queue_{".mdns"};
  const NameRegistrar::Factory makeRegistrar_;
  const Logger logger_;
  const std::shared_ptr<Callbacks> callbacks_ = std::make_shared<Callbacks>();

  // used on the queue only
  std::unique_ptr<NameRegistrar> record_;
  std::optional<std::string> name_;
  std::optional<std::string> address_;
};

}  // namespace tarvinel
