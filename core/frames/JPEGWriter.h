#pragma once

#include "core/frames/PixelView.h"
#include "core/support/Bytes.h"

#include <cstdint>

namespace tarvinel {

/// How much colour a JPEG keeps.
enum class ChromaSampling : std::uint8_t {
  quartered,  ///< 4:2:0: one colour for four pixels; smaller, smears coloured text
  full,       ///< 4:4:4: one colour a pixel
};

/// Writes pixels as one baseline JPEG file, alpha left out. `quality` is 1 to 100. Safe from any
/// thread. Throws JPEGEncodeError encodeFailed.
Bytes writeJPEG(const PixelView& picture, int quality, ChromaSampling chroma);

}  // namespace tarvinel
