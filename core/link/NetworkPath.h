#pragma once

#include "core/link/InterfaceType.h"

#include <filesystem>
#include <functional>
#include <memory>
#include <vector>

namespace tarvinel {

class SerialQueue;

/// Watches by which interfaces this computer reaches the network. Lives on the queue that it was
/// made for, which must have been stopped before it is destroyed.
class NetworkPath {
 public:
  /// Called on the queue, soon after the start and after every change, with the types of the
  /// interfaces that can be used, the preferred one first.
  using Handler = std::function<void(const std::vector<InterfaceType>&)>;
  using Factory = std::function<std::unique_ptr<NetworkPath>(SerialQueue&, Handler)>;

  virtual ~NetworkPath() = default;
  NetworkPath() = default;
  NetworkPath(const NetworkPath&) = delete;
  NetworkPath& operator=(const NetworkPath&) = delete;
};

/// Makes the one that asks the kernel; `sysfs` is where that is mounted.
NetworkPath::Factory kernelNetworkPath(const std::filesystem::path& sysfs);

}  // namespace tarvinel
