#include "app/capture/x11/CapturePacing.h"

#include <algorithm>

namespace tarvinel::x11 {

CapturePacing::CapturePacing(std::int32_t framesPerSecond)
    : interval_(std::chrono::nanoseconds(std::chrono::seconds(1)) / std::max(framesPerSecond, 1)) {}

void CapturePacing::looked(Time now, bool delivered) {
  notBefore_ = now + (delivered ? interval_ : interval_ / 8);
}

}  // namespace tarvinel::x11
