#pragma once

#include "core/dbus/MessageBus.h"
#include "core/mdns/NameRegistrar.h"
#include "core/support/RepeatingTimer.h"
#include "core/support/SerialQueue.h"

#include <chrono>
#include <cstdint>
#include <functional>
#include <memory>
#include <string>

namespace tarvinel {

/// Reports whether a daemon that publishes names is running, now and at every change, until the
/// watch is destroyed. Lives on a queue.
class DaemonWatch {
 public:
  enum class Finding : std::uint8_t {
    running,  ///< it runs, or was replaced by another that runs
    absent,   ///< there is none
    unknown,  ///< the bus does not reply; no more findings follow
  };
  using Callback = std::function<void(Finding)>;
  using Factory =
      std::function<std::unique_ptr<DaemonWatch>(SerialQueue& queue, Callback onFinding)>;

  virtual ~DaemonWatch() = default;
  DaemonWatch() = default;
  DaemonWatch(const DaemonWatch&) = delete;
  DaemonWatch& operator=(const DaemonWatch&) = delete;
};

/// Watches for the Avahi daemon on the system bus. Without a bus there is no daemon, and the
/// connection to a bus is retried from time to time.
class AvahiDaemonWatch : public DaemonWatch {
 public:
  /// The timeout for a reply of the bus, and the interval between attempts to connect to a bus.
  static constexpr std::chrono::seconds defaultTimeout{10};

  /// `onFinding` is called on the queue, never during this call, and may destroy the watch.
  AvahiDaemonWatch(SerialQueue& queue, Callback onFinding,
                   std::chrono::milliseconds timeout = defaultTimeout);

 private:
  void connect();
  void listen();
  void ask();
  void busIsGone();
  void giveUp();

  SerialQueue& queue_;
  const Callback onFinding_;
  const std::chrono::milliseconds timeout_;
  OneShotTimer timer_;
  std::unique_ptr<MessageBus> bus_;
};

/// Publishes through the Avahi daemon, over a bus connection of its own: when that closes, the
/// daemon withdraws the record. A name that the daemon publishes for the computer itself counts as
/// registered for as long as it does.
///
/// It ends with an error reply: no more replies follow. The end of the daemon is not detected here.
class AvahiDaemonRegistrar : public NameRegistrar {
 public:
  /// The timeout for registering a name, the daemon's own start included.
  static constexpr std::chrono::seconds defaultTimeout{10};

  explicit AvahiDaemonRegistrar(SerialQueue& queue,
                                std::chrono::milliseconds timeout = defaultTimeout);

  std::int32_t registerRecord(const std::string& name, Address address, Reply reply) override;
  std::int32_t update(Address address) override;

 private:
  void watchServer();
  void serverStateChanged(std::int32_t state);
  void queryHostName();
  void hostNameIs(const std::string& hostName);
  void makeGroup();
  void watchGroup();
  void addRecord(std::int32_t flags, MessageBus::Handler onAdded);
  void commit();
  void groupStateChanged(std::int32_t state);

  /// Passes the response to `onResponse`, or ends with the code of the error.
  MessageBus::Handler orEnd(MessageBus::Handler onResponse);
  void report(std::int32_t code);

  SerialQueue& queue_;
  const std::chrono::milliseconds timeout_;
  OneShotTimer deadline_;
  std::string name_;  ///< with the trailing dot
  Address address_{};
  Reply reply_;
  std::unique_ptr<MessageBus> bus_;  ///< null once it has ended
  std::string group_;                ///< object path; empty until there is one
  bool groupAsked_ = false;
  bool recordSent_ = false;
};

}  // namespace tarvinel
