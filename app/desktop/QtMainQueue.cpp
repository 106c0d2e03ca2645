#include "app/desktop/QtMainQueue.h"

#include <QTimer>

#include <utility>

namespace tarvinel {

namespace {

class QtRepetition : public MainQueue::Timer {
 public:
  QtRepetition(std::chrono::milliseconds interval, std::function<void()> task) {
    timer_.callOnTimeout(std::move(task));
    timer_.start(interval);
  }

 private:
  QTimer timer_;
};

}  // namespace

void QtMainQueue::post(std::function<void()> task) {
  QMetaObject::invokeMethod(&context_, std::move(task), Qt::QueuedConnection);
}

std::unique_ptr<MainQueue::Timer> QtMainQueue::repeat(std::chrono::milliseconds interval,
                                                      std::function<void()> task) {
  return std::make_unique<QtRepetition>(interval, std::move(task));
}

}  // namespace tarvinel
