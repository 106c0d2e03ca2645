#pragma once

#include "app/capture/CursorImage.h"
#include "app/capture/DirtyRegion.h"
#include "app/capture/PixelRect.h"
#include "app/capture/ScreenCaptureService.h"
#include "app/capture/x11/ImageReader.h"

#include <xcb/xcb.h>

#include <optional>
#include <vector>

namespace tarvinel {

class X11Connection;

/// The picture of one area of a window or pixmap with the cursor drawn in it, in one buffer that is
/// kept up to date. Must not outlive the connection.
class X11Picture {
 public:
  /// Rectangles in the drawable's coordinates.
  using Rects = std::vector<PixelRect>;

  /// `area` lies within the drawable. Throws X11Error when the memory cannot be had.
  X11Picture(const X11Connection& connection, xcb_drawable_t drawable, const PixelRect& area);

  const PixelRect& area() const { return reader_.area(); }
  xcb_drawable_t drawable() const { return reader_.drawable(); }

  /// Shows the same area of another drawable from now on.
  void show(xcb_drawable_t drawable);

  /// Reads again what was damaged (all of it when that is not known) and where the cursor was and
  /// is; none when nothing of that lies in the area. The first call reads everything, and so does
  /// the next one after a failure. Throws X11Error.
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

}  // namespace tarvinel
