#pragma once

#include "core/frames/PixelView.h"

#include <cstddef>
#include <memory>

namespace tarvinel {

/// A reduced copy of a picture; owns its pixels.
class ReducedPicture {
 public:
  /// Shrinks `source` to `width` × `height` pixels, averaging what falls together. Throws
  /// JPEGEncodeError contextFailed when there is no memory or the size cannot be handled.
  ReducedPicture(const PixelView& source, std::size_t width, std::size_t height);

  const PixelView& view() const { return view_; }

 private:
  std::unique_ptr<std::uint8_t[]> pixels_;
  PixelView view_;
};

}  // namespace tarvinel
