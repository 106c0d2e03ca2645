#pragma once

#include <QCoreApplication>
#include <QDeadlineTimer>
#include <QTimer>

#include <chrono>

namespace tarvinel::test {

/// Runs the toolkit's loop until `condition` holds; false when it does not within half a minute.
template <class Condition>
bool loopUntil(Condition condition) {
  const QDeadlineTimer deadline(std::chrono::seconds(30));
  QTimer waker;  // lets the deadline be seen
  waker.start(std::chrono::milliseconds(20));
  while (!condition()) {
    if (deadline.hasExpired()) return false;
    QCoreApplication::processEvents(QEventLoop::WaitForMoreEvents);
  }
  return true;
}

/// Runs what is due now.
inline void runDueTasks() {
  QCoreApplication::processEvents();
}

}  // namespace tarvinel::test
