#pragma once

#include "core/link/NetworkInfo.h"
#include "core/support/SerialQueue.h"

#include <memory>
#include <utility>
#include <vector>

namespace tarvinel::test {

/// A network whose path the test sets. It outlives its watchers.
class FakeNetwork {
 public:
  NetworkPath::Factory factory() {
    return [this](SerialQueue& queue, NetworkPath::Handler handler) {
      queue_ = &queue;
      handler_ = std::move(handler);
      return std::make_unique<Path>();
    };
  }

  /// Notifies the watcher and waits until it has handled the change.
  void report(const std::vector<InterfaceType>& types) {
    queue_->sync([&] { handler_(types); });
  }

 private:
  struct Path : NetworkPath {};

  SerialQueue* queue_ = nullptr;
  NetworkPath::Handler handler_;
};

}  // namespace tarvinel::test
