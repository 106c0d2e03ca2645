#include "app/capture/x11/X11PixelBuffer.h"

namespace tarvinel {

X11PixelBuffer::X11PixelBuffer(const PixelRect& area)
    : width_(static_cast<std::size_t>(area.width)),
      height_(static_cast<std::size_t>(area.height)),
      memory_(static_cast<std::uint64_t>(width_) * height_ * 4) {}

}  // namespace tarvinel
