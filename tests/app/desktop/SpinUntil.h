#pragma once

#include <QDeadlineTimer>
#include <QEventLoop>
#include <QTimer>

#include <chrono>

namespace tarvinel::test {

/// Runs the toolkit's loop until `condition` holds; returns false if it does not within a minute,
/// which is far more than any machine needs.
template <class Condition>
bool spinUntil(Condition condition) {
  const QDeadlineTimer deadline(std::chrono::seconds(60));
  QEventLoop loop;
  QTimer look;
  look.callOnTimeout([&] {
    if (condition() || deadline.hasExpired()) loop.quit();
  });
  look.start(std::chrono::milliseconds(1));
  loop.exec();
  return condition();
}

}  // namespace tarvinel::test
