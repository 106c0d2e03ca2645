#pragma once

#include <atomic>
#include <cstddef>

namespace tarvinel {

/// How large motion frames have been lately, the newest counting a fifth. Added to on one queue,
/// read from any thread.
class MotionBytesAverage {
 public:
  void add(std::size_t frameBytes) {
    const auto newest = static_cast<double>(frameBytes);
    const double before = bytes_.load();
    bytes_.store(before == 0 ? newest : before * 0.8 + newest * 0.2);
  }

  /// Bytes; 0 before the first frame.
  double value() const { return bytes_.load(); }

 private:
  std::atomic<double> bytes_{0};
};

}  // namespace tarvinel
