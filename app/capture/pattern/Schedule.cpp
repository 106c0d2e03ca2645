#include "app/capture/pattern/Schedule.h"

#include <algorithm>

namespace tarvinel::pattern {

namespace {

constexpr std::int64_t motionSeconds = 5;
constexpr Schedule::Duration second = std::chrono::seconds(1);
constexpr Schedule::Duration cycle = std::chrono::seconds(10);

}  // namespace

Schedule::Schedule(std::int32_t stepsPerSecond) : rate_(std::clamp(stepsPerSecond, 1, 1000)) {}

std::int64_t Schedule::stepAt(Duration elapsed) const {
  const std::int64_t stepsPerCycle = motionSeconds * rate_;
  const std::int64_t within = (elapsed % cycle).count() * rate_ / second.count();
  return elapsed / cycle * stepsPerCycle + std::min(within, stepsPerCycle - 1);
}

Schedule::Duration Schedule::timeOf(std::int64_t step) const {
  const std::int64_t stepsPerCycle = motionSeconds * rate_;
  const Duration exact = step % stepsPerCycle * second;
  // rounded up, so that the step has begun by then
  return step / stepsPerCycle * cycle + (exact + Duration(rate_ - 1)) / rate_;
}

}  // namespace tarvinel::pattern
