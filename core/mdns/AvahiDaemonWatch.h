#pragma once

#include "core/dbus/MessageBus.h"
#include "core/mdns/DaemonWatch.h"
#include "core/support/OneShotTimer.h"

#include <chrono>
#include <memory>

namespace tarvinel {

/// Watches for the Avahi daemon on the system bus. Without a bus there is no daemon, and a bus is
/// looked for again from time to time.
class AvahiDaemonWatch : public DaemonWatch {
 public:
  /// How long a bus may take to answer, and how long it takes until a bus is looked for again.
  static constexpr std::chrono::seconds defaultPatience{10};

  /// `onFinding` is called on the queue, never during this call, and may destroy the watch.
  AvahiDaemonWatch(SerialQueue& queue, Callback onFinding,
                   std::chrono::milliseconds patience = defaultPatience);

 private:
  void connect();
  void listen();
  void ask();
  void busIsGone();
  void giveUp();

  SerialQueue& queue_;
  const Callback onFinding_;
  const std::chrono::milliseconds patience_;
  OneShotTimer timer_;
  std::unique_ptr<MessageBus> bus_;
};

}  // namespace tarvinel
