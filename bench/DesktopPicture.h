#pragma once

#include "core/frames/PixelBuffer.h"

#include <cstddef>
#include <memory>

namespace tarvinel {

/// Draws a typical desktop: a background, two windows, lines of dark and of coloured text. The
/// picture is always the same.
std::unique_ptr<MemoryPixelBuffer> desktopPicture(std::size_t width, std::size_t height);

}  // namespace tarvinel
