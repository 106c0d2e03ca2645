#pragma once

#include <cstdint>

namespace tarvinel {

/// Turns a running byte counter, read once a second, into megabits per second. Plain value.
class TrafficMeter {
 public:
  /// The traffic since the previous reading, with one decimal, halves rounded up.
  double measure(std::int64_t bytesSent);

 private:
  std::int64_t lastBytesSent_ = 0;
};

}  // namespace tarvinel
