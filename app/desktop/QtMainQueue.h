#pragma once

#include "app/platform/MainQueue.h"

#include <QObject>

namespace tarvinel {

/// The main queue of a program with a desktop toolkit: the toolkit's event loop, on the thread that
/// created this object.
class QtMainQueue : public MainQueue {
 public:
  void post(std::function<void()> task) override;
  std::unique_ptr<Timer> repeat(std::chrono::milliseconds interval,
                                std::function<void()> task) override;

 private:
  QObject context_;
};

}  // namespace tarvinel
