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

/// Selects the interfaces of a multicast DNS responder. Stateless; safe from any thread.
class MulticastInterfaces {
 public:
  MulticastInterfaces() = delete;

  struct Interface {
    std::string name;  ///< such as "eth0"
    NameRegistrar::Address address;
  };

  /// Returns every IPv4 address of interfaces that are up and support multicast.
  static std::vector<Interface> all();

  /// Returns the one interface that a responder for this address should be limited to if there are
  /// more than it can listen on, or nullopt if it can use all.
  static std::optional<std::string> onlyOne(const std::vector<Interface>& interfaces,
                                            NameRegistrar::Address address);
};

/// A multicast DNS responder inside this program with a single record, for computers where no
/// daemon runs. It needs no privileges and no configuration, and follows interface changes.
///
/// The responder has a thread of its own, which ends with it; replies are posted to the queue.
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
  std::shared_ptr<Reply> reply_;  ///< pending replies hold it weakly
  std::unique_ptr<AvahiThreadedPoll, Release> poll_;
  std::unique_ptr<AvahiServer, Release> server_;
  AvahiSEntryGroup* group_ = nullptr;         ///< owned by the server
  std::optional<std::string> onlyInterface_;  ///< set if it is limited to one
};

}  // namespace tarvinel
