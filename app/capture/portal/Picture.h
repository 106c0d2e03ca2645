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
  /// Copies what differs from the last picture within `damage`, which lies inside the picture, or
  /// anywhere if the damage is not known. Returns nullopt if nothing differs.
  std::optional<CapturedFrame> update(const RawPicture& picture,
                                      const std::optional<PixelRects>& damage);

  /// Draws the cursor (the picture's pixels) at its new place only; nullopt hides it. Returns
  /// nullopt if there is no picture yet, or nothing of the cursor was or is in it.
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
  PixelRect covered_;                          ///< the area that it covers; may be empty
  std::vector<std::uint8_t> below_;            ///< the pixels of that area without the cursor
};

}  // namespace tarvinel::portal
