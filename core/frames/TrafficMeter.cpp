#include "core/frames/TrafficMeter.h"

#include <cmath>
#include <utility>

namespace tarvinel {

double TrafficMeter::measure(std::int64_t bytesSent) {
  const auto sent = static_cast<double>(bytesSent - std::exchange(lastBytesSent_, bytesSent));
  return std::round(sent * 8 / 1'000'000 * 10) / 10;
}

}  // namespace tarvinel
