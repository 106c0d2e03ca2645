#include "app/capture/CaptureTools.h"

#include "core/frames/PixelBufferJPEGEncoder.h"

#include <chrono>
#include <utility>

namespace tarvinel {

namespace {

constexpr std::chrono::milliseconds settleInterval{100};

double secondsSinceBoot() {
  return std::chrono::duration<double>(std::chrono::steady_clock::now().time_since_epoch()).count();
}

}  // namespace

CaptureTools CaptureTools::system() {
  return {secondsSinceBoot, PixelBufferJPEGEncoder::encode,
          [](SerialQueue& queue, std::function<void()> onTick) {
            return std::make_unique<QueueTimer>(queue, settleInterval, std::move(onTick));
          }};
}

}  // namespace tarvinel
