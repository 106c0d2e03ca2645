#include "core/link/LinkMonitor.h"

#include <utility>

namespace tarvinel {

LinkMonitor::LinkMonitor(const NetworkPath::Factory& makePath, std::function<void(bool)> onChange)
    : onChange_(std::move(onChange)),
      monitor_(makePath(queue_, [this](const auto& types) { pathUpdated(types); })) {}

LinkMonitor::~LinkMonitor() {
  queue_.stop();
}

bool LinkMonitor::isWired() const {
  const std::scoped_lock lock(lock_);
  return isWired_;
}

bool LinkMonitor::isWired(const std::vector<InterfaceType>& preferredInterfaceTypes) {
  return !preferredInterfaceTypes.empty() &&
         preferredInterfaceTypes.front() == InterfaceType::wiredEthernet;
}

void LinkMonitor::pathUpdated(const std::vector<InterfaceType>& types) {
  queue_.assertCurrent();
  const bool isWiredNow = isWired(types);
  bool changed = false;
  {
    const std::scoped_lock lock(lock_);
    changed = std::exchange(isWired_, isWiredNow) != isWiredNow;
  }
  if (changed && onChange_) onChange_(isWiredNow);
}

}  // namespace tarvinel
