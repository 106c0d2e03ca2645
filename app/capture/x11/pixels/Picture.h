#pragma once

#include "app/capture/CursorImage.h"
#include "app/capture/DirtyRegion.h"
#include "app/capture/ScreenCaptureService.h"
#include "app/capture/x11/pixels/SharedMemory.h"
#include "core/support/Geometry.h"

#include <xcb/xcb.h>

#include <memory>
#include <optional>
#include <span>
#include <vector>

namespace tarvinel::x11 {

class Connection;

class Connection;

/// Reads rows of one area of a window or pixmap into a buffer of that size. The server writes them
/// there if memory can be shared; else they are copied from its replies. Must not outlive the
/// connection.
class ImageReader {
 public:
  /// Throws Error if the memory for the picture cannot be allocated.
  ImageReader(const Connection& connection, xcb_drawable_t drawable, const PixelRect& area);

  const PixelRect& area() const { return area_; }
  xcb_drawable_t drawable() const { return drawable_; }
  const std::shared_ptr<ShmPixelBuffer>& buffer() const { return buffer_; }

  /// Reads from another drawable from now on, into the same buffer.
  void readFrom(xcb_drawable_t drawable) { drawable_ = drawable; }

  /// Updates the rows. Throws Error; with BadMatch if the area is no longer within the drawable.
  void read(std::span<const RowBand> bands);

 private:
  void readShared(std::span<const RowBand> bands);
  void readCopied(const RowBand& band);

  const Connection& connection_;
  xcb_drawable_t drawable_;
  PixelRect area_;
  std::shared_ptr<ShmPixelBuffer> buffer_;
  std::unique_ptr<ShmSegment> segment_;  ///< null: not shared
};

/// The picture of one area of a window or pixmap with the cursor drawn in it, in one buffer that is
/// kept up to date. Must not outlive the connection.
class Picture {
 public:
  /// `area` lies within the drawable. Throws Error if the memory cannot be allocated.
  Picture(const Connection& connection, xcb_drawable_t drawable, const PixelRect& area);

  const PixelRect& area() const { return reader_.area(); }
  xcb_drawable_t drawable() const { return reader_.drawable(); }

  /// Shows the same area of another drawable from now on.
  void show(xcb_drawable_t drawable);

  /// Reads again what was damaged (in the drawable's coordinates; all of it if that is not known)
  /// and where the cursor was and is; returns nullopt if nothing of that lies in the area. The
  /// first call reads everything, and so does the next one after a failure. Throws Error.
  std::optional<CapturedFrame> update(const std::optional<PixelRects>& damaged,
                                      const std::optional<CursorImage>& cursor);

 private:
  DirtyRegion findChanges(const std::optional<PixelRects>& damaged,
                          const std::optional<CursorImage>& cursor) const;
  void redraw(const DirtyRegion& dirty, const std::optional<CursorImage>& cursor);
  CapturedFrame frame(const DirtyRegion& dirty) const;

  ImageReader reader_;
  std::optional<CursorImage> drawnCursor_;  ///< as drawn in the picture
  bool everythingDirty_ = true;
};

}  // namespace tarvinel::x11
