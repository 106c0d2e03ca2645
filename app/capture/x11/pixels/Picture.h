#pragma once

#include "app/capture/CursorImage.h"
#include "app/capture/DirtyRegion.h"
#include "app/capture/ScreenCaptureService.h"
#include "app/capture/x11/pixels/ImageReader.h"
#include "core/support/PixelRect.h"

#include <xcb/xcb.h>

#include <optional>
#include <vector>

namespace tarvinel::x11 {

class Connection;

/// The picture of one area of a window or pixmap with the cursor drawn in it, in one buffer that is
/// kept up to date. Must not outlive the connection.
class Picture {
 public:
  /// Rectangles in the drawable's coordinates.
  using Rects = std::vector<PixelRect>;

  /// `area` lies within the drawable. Throws Error when the memory cannot be had.
  Picture(const Connection& connection, xcb_drawable_t drawable, const PixelRect& area);

  const PixelRect& area() const { return reader_.area(); }
  xcb_drawable_t drawable() const { return reader_.drawable(); }

  /// Shows the same area of another drawable from now on.
  void show(xcb_drawable_t drawable);

  /// Reads again what was damaged (all of it when that is not known) and where the cursor was and
  /// is; none when nothing of that lies in the area. The first call reads everything, and so does
  /// the next one after a failure. Throws Error.
  std::optional<CapturedFrame> update(const std::optional<Rects>& damaged,
                                      const std::optional<CursorImage>& cursor);

 private:
  DirtyRegion findChanges(const std::optional<Rects>& damaged,
                          const std::optional<CursorImage>& cursor) const;
  void redraw(const DirtyRegion& dirty, const std::optional<CursorImage>& cursor);
  CapturedFrame frame(const DirtyRegion& dirty) const;

  ImageReader reader_;
  std::optional<CursorImage> drawnCursor_;  ///< as it is in the picture
  bool everythingDirty_ = true;
};

}  // namespace tarvinel::x11
