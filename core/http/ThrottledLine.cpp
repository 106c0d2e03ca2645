#include "core/http/ThrottledLine.h"

#include <utility>

namespace tarvinel {

ThrottledLine::ThrottledLine(SerialQueue& queue, Logger logger, spdlog::level::level_enum level)
    : logger_(std::move(logger)),
      level_(level),
      timer_(queue, interval, [this] { intervalIsOver(); }) {}

void ThrottledLine::log(std::string line) {
  last_ = std::move(line);
  ++waiting_;
  if (!timer_.isRunning()) report();
  timer_.run(true);
}

void ThrottledLine::finish() {
  report();
  timer_.run(false);
}

void ThrottledLine::intervalIsOver() {
  timer_.run(waiting_ > 0);
  report();
}

void ThrottledLine::report() {
  const std::size_t count = std::exchange(waiting_, 0);
  if (count == 1) logger_->log(level_, "{}", last_);
  if (count > 1) logger_->log(level_, "{} (the last of {} like it)", last_, count);
}

}  // namespace tarvinel
