#pragma once

#include "core/frames/Frame.h"
#include "core/frames/JPEGWriter.h"
#include "core/frames/PixelBuffer.h"
#include "core/support/Geometry.h"

#include <cstddef>
#include <functional>
#include <memory>
#include <optional>

namespace tarvinel {

/// A reduced copy of a picture; owns its pixels.
class ReducedPicture {
 public:
  /// Shrinks `source` to `width` × `height` pixels by averaging. Throws JPEGEncodeError
  /// contextFailed if there is no memory or the size cannot be handled.
  ReducedPicture(const PixelView& source, std::size_t width, std::size_t height);

  const PixelView& view() const { return view_; }

 private:
  std::unique_ptr<std::uint8_t[]> pixels_;
  PixelView view_;
};

/// Locks a BGRA buffer and calls `use` with its content: cropped and reduced as described at
/// `PixelBufferJPEGEncoder::encode`, valid during the call. Throws JPEGEncodeError and whatever
/// `use` throws.
void withPicture(PixelBuffer& buffer, const std::optional<Rect>& crop, double scale,
                 const std::function<void(const PixelView& picture)>& use);

/// Returns the library's quality, 1 to 100, for one of 0 (smallest) to 1 (best).
int libraryQuality(double quality);

/// Encodes a captured picture as a JPEG file. Stateless; safe from any thread that may read the
/// buffer.
struct PixelBufferJPEGEncoder {
  PixelBufferJPEGEncoder() = delete;

  /// `quality` runs from 0 (smallest) to 1 (best). `crop` is in pixels; it is widened to whole
  /// pixels and clipped at the picture's edges, and a crop that leaves nothing is ignored. `scale`
  /// reduces width and height after cropping; 1 or more keeps them. The buffer is locked only
  /// during the call and its pixels are not copied unless they are reduced. Throws JPEGEncodeError.
  static Frame encode(PixelBuffer& buffer, double quality, const std::optional<Rect>& crop,
                      double scale, ChromaSampling chroma);
};

}  // namespace tarvinel
