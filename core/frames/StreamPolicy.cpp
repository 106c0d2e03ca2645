#include "core/frames/StreamPolicy.h"

#include "core/support/FatalError.h"

#include <algorithm>
#include <cmath>
#include <utility>

namespace tarvinel {

namespace {

// On Wi-Fi every frame is transmitted twice: up from the host and down to each viewer.
double airFactor(bool wired) {
  return wired ? 1.0 : 2.0;
}

double bitsForAllViewers(std::int64_t viewers, std::int64_t frameBytes) {
  return static_cast<double>(viewers) * static_cast<double>(frameBytes) * 8.0;
}

std::int64_t wholeRate(double quotient) {
  constexpr double limit = 9223372036854775808.0;  // 2^63, the first value too large
  const double rate = std::floor(quotient);
  if (!(rate >= -limit && rate < limit)) fatalError("motion rate is not a whole number");
  return static_cast<std::int64_t>(rate);
}

}  // namespace

std::int64_t StreamPolicy::motionFPS(std::int64_t viewers, std::int64_t motionFrameBytes,
                                     bool wired, double budgetMbps, std::int64_t floor,
                                     std::int64_t ceiling) {
  const bool measured = viewers >= 1 && motionFrameBytes >= 1 && budgetMbps > 0;
  if (!measured) return ceiling;
  const double bitsPerFrame = airFactor(wired) * bitsForAllViewers(viewers, motionFrameBytes);
  const std::int64_t rate = wholeRate(budgetMbps * 1'000'000.0 / bitsPerFrame);
  return std::min(std::max(rate, floor), ceiling);  // not std::clamp: floor may exceed ceiling
}

double StreamPolicy::byteRate(std::int64_t viewers, bool wired, double budgetMbps) {
  const auto shares = static_cast<double>(std::max<std::int64_t>(1, viewers));
  return budgetMbps * 1'000'000.0 / 8 / shares / airFactor(wired);
}

double StreamPolicy::airtimeMbps(std::int64_t viewers, std::int64_t frameBytes, std::int64_t fps,
                                 bool wired) {
  const double bitsPerSecond = bitsForAllViewers(viewers, frameBytes) * static_cast<double>(fps);
  return airFactor(wired) * bitsPerSecond / 1'000'000.0;
}

double TrafficMeter::measure(std::int64_t bytesSent) {
  const auto sent = static_cast<double>(bytesSent - std::exchange(lastBytesSent_, bytesSent));
  return std::round(sent * 8 / 1'000'000 * 10) / 10;
}

}  // namespace tarvinel
