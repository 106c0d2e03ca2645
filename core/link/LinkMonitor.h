#pragma once

#include "core/link/NetworkInfo.h"
#include "core/support/SerialQueue.h"

#include <functional>
#include <memory>
#include <mutex>
#include <string_view>
#include <vector>

namespace tarvinel {

/// Determines whether this computer sends to its viewers by cable. Owns the queue ".link".
class LinkMonitor {
 public:
  /// Starts watching at once. `onChange` is called on the queue at every change, the first time if
  /// the link turns out to be wired.
  explicit LinkMonitor(const NetworkPath::Factory& makePath,
                       std::function<void(bool)> onChange = {});
  ~LinkMonitor();
  LinkMonitor(const LinkMonitor&) = delete;
  LinkMonitor& operator=(const LinkMonitor&) = delete;

  /// Returns the last known state, false until there is one. Safe from any thread.
  bool isWired() const;

  /// Returns the name of the link that the presenter is shown. Pure.
  static std::string_view name(bool isWired) { return isWired ? "Ethernet" : "Wi-Fi"; }

  /// Returns the state of a path: only the preferred interface counts. Pure.
  static bool isWired(const std::vector<InterfaceType>& preferredInterfaceTypes);

 private:
  void pathUpdated(const std::vector<InterfaceType>& types);

  SerialQueue queue_{".link"};
  const std::function<void(bool)> onChange_;
  mutable std::mutex lock_;
  bool isWired_ = false;  // guarded by lock_
  const std::unique_ptr<NetworkPath> monitor_;
};

}  // namespace tarvinel
