#include "app/capture/x11/pixels/ShmPixelBuffer.h"

namespace tarvinel::x11 {

ShmPixelBuffer::ShmPixelBuffer(const PixelRect& area)
    : width_(static_cast<std::size_t>(area.width)),
      height_(static_cast<std::size_t>(area.height)),
      memory_(static_cast<std::uint64_t>(width_) * height_ * 4) {}

}  // namespace tarvinel::x11
