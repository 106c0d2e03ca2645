#pragma once
struct AvahiSEntryGroup;
struct AvahiServer;
struct AvahiThreadedPoll;

#include "core/mdns/NameRegistrar.h"

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace tarvinel {

/// The interfaces that a multicast DNS responder listens on. Keeps no state; safe from any thread.
class MulticastInterfaces {
 public:
  MulticastInterfaces() = delete;

  struct Interface {
    std::string name;  ///< such as "eth0"
    NameRegistrar::Address address;
  };

  /// Every IPv4 address of interfaces that are up and take multicast.
  static std::vector<Interface> all();

  /// The one interface that a responder for this address should keep to, if they are more than it
  /// could listen on; nothing when it can have them all.
  static std::optional<std::string> onlyOne(const std::vector<Interface>& interfaces,
                                            NameRegistrar::Address address);
};

/// A multicast DNS responder inside this program that knows one record only: for computers where no
/// daemon runs. It needs no rights and no configuration, and follows interfaces that come and go.
///
/// The responder has a thread of its own, which ends with it; replies hop to the queue.
class EmbeddedResponder : public NameRegistrar {
 public:
  EmbeddedResponder(SerialQueue& queue, Logger logger);
  ~EmbeddedResponder() override;
  EmbeddedResponder(const EmbeddedResponder&) = delete;
  EmbeddedResponder& operator=(const EmbeddedResponder&) = delete;

  std::int32_t registerRecord(const std::string& name, Address address, Reply reply) override;
  std::int32_t update(Address address) override;

 private:
  struct Release {
    void operator()(AvahiThreadedPoll* poll) const;
    void operator()(AvahiServer* server) const;
  };

  std::int32_t start(Address address);
  void stop();
  bool startServer(Address address);
  bool makeGroup();
  bool addRecord(Address address, bool isUpdate);
  void reportGroupState(int state);

  SerialQueue& queue_;
  const Logger logger_;
  std::string name_;
  std::shared_ptr<Reply> reply_;  ///< replies under way find it gone
  std::unique_ptr<AvahiThreadedPoll, Release> poll_;
  std::unique_ptr<AvahiServer, Release> server_;
  AvahiSEntryGroup* group_ = nullptr;         ///< the server's
  std::optional<std::string> onlyInterface_;  ///< if it keeps to one
};

}  // namespace tarvinel
