#pragma once

#include "core/support/Bytes.h"
#include "core/support/Geometry.h"

#include <optional>

namespace tarvinel {

/// Width and height, in pixels, that the head of a JPEG file names (ITU-T T.81, B.2.2); nothing
/// when no frame header is found. Pure.
std::optional<PixelSize> sizeOfJPEG(const Bytes& file);

}  // namespace tarvinel
