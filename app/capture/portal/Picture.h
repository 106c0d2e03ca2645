#pragma once

#include "app/capture/CursorImage.h"
#include "app/capture/ScreenCaptureService.h"
#include "app/capture/portal/RawPicture.h"
#include "core/frames/PixelBuffer.h"
#include "core/support/Geometry.h"

#include <cstdint>
#include <memory>
#include <optional>
#include <vector>

namespace tarvinel::portal {

/// The newest picture of a stream, kept in one buffer for as long as its size stays the same. Lives
/// on the capture queue.
class Picture {
 public:
  /// Takes over what differs from the last picture in `damage`, which lies inside the picture, or
  /// anywhere, when that is not known. None when nothing does.
  std::optional<CapturedFrame> update(const RawPicture& picture,
                                      const std::optional<PixelRects>& damage);

  /// Draws the cursor (the picture's pixels) where it is now, and nowhere else; none: it is not to
  /// be seen. None when there is no picture yet, or nothing of the cursor was or is in it.
  std::optional<CapturedFrame> showCursor(const std::optional<CursorImage>& cursor);

 private:
  PixelRect area() const;
  CapturedFrame frame(const PixelRects& changed) const;
  std::uint8_t* pixelsAt(std::int32_t x, std::int32_t y) const;
  void restoreBelowCursor();
  void drawCursor(const CursorImage& cursor);
  bool fits(const RawPicture& picture) const;
  void copy(const RawPicture& picture, const PixelRect& area);
  PixelRects differences(const RawPicture& picture, const PixelRects& areas) const;

  std::shared_ptr<MemoryPixelBuffer> buffer_;  ///< null before the first picture
  std::optional<CursorImage> cursor_;          ///< as drawn
  PixelRect covered_;                          ///< what of the picture it covers; empty: nothing
  std::vector<std::uint8_t> below_;            ///< the pixels of that without it
};

}  // namespace tarvinel::portal
