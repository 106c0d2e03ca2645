#pragma once

#include "core/dbus/MessageBus.h"
#include "core/mdns/NameRegistrar.h"
#include "core/support/OneShotTimer.h"

#include <chrono>
#include <cstdint>
#include <memory>
#include <string>

namespace tarvinel {

/// Publishes through the Avahi daemon, over a bus connection of its own: when that closes, the
/// daemon withdraws the record. A name that the daemon publishes for the computer itself counts as
/// registered for as long as it does.
///
/// After an error reply it has ended: nothing more comes of it. The end of the daemon goes
/// unnoticed here.
class AvahiDaemonRegistrar : public NameRegistrar {
 public:
  /// How long a daemon may take to register a name, its own start included.
  static constexpr std::chrono::seconds defaultPatience{10};

  explicit AvahiDaemonRegistrar(SerialQueue& queue,
                                std::chrono::milliseconds patience = defaultPatience);

  std::int32_t registerRecord(const std::string& name, Address address, Reply reply) override;
  std::int32_t update(Address address) override;

 private:
  void watchServer();
  void serverStateChanged(std::int32_t state);
  void askHostName();
  void hostNameIs(const std::string& hostName);
  void makeGroup();
  void watchGroup();
  void addRecord(std::int32_t flags, MessageBus::Handler onAdded);
  void commit();
  void groupStateChanged(std::int32_t state);

  /// Hands the answer to `onAnswer`, or ends with the code of the error.
  MessageBus::Handler orEnd(MessageBus::Handler onAnswer);
  void report(std::int32_t code);

  SerialQueue& queue_;
  const std::chrono::milliseconds patience_;
  OneShotTimer deadline_;
  std::string name_;  ///< with the trailing dot
  Address address_{};
  Reply reply_;
  std::unique_ptr<MessageBus> bus_;  ///< none once it has ended
  std::string group_;                ///< object path; empty before there is one
  bool groupAsked_ = false;
  bool recordSent_ = false;
};

}  // namespace tarvinel
