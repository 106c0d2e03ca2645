#pragma once

#include "core/frames/PixelBuffer.h"

#include <cstddef>
#include <memory>

namespace tarvinel {

/// A picture like a desktop at work: a background, two windows, lines of dark and of coloured text.
/// The same every time.
std::unique_ptr<MemoryPixelBuffer> desktopPicture(std::size_t width, std::size_t height);

}  // namespace tarvinel
