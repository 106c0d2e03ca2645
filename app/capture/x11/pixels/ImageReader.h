#pragma once

#include "app/capture/DirtyRegion.h"
#include "app/capture/x11/pixels/ShmPixelBuffer.h"
#include "app/capture/x11/pixels/ShmSegment.h"
#include "core/support/PixelRect.h"

#include <xcb/xcb.h>

#include <memory>
#include <span>

namespace tarvinel::x11 {

class Connection;

/// Reads rows of one area of a window or pixmap into a buffer of that size: written there by the
/// server where memory can be shared, else copied from its replies. Must not outlive the
/// connection.
class ImageReader {
 public:
  /// Throws Error when the memory for the picture cannot be had.
  ImageReader(const Connection& connection, xcb_drawable_t drawable, const PixelRect& area);

  const PixelRect& area() const { return area_; }
  xcb_drawable_t drawable() const { return drawable_; }
  const std::shared_ptr<ShmPixelBuffer>& buffer() const { return buffer_; }

  /// Reads from another drawable from now on, into the same buffer.
  void readFrom(xcb_drawable_t drawable) { drawable_ = drawable; }

  /// Brings the rows up to date. Throws Error; with BadMatch when the area is no longer within
  /// the drawable.
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

}  // namespace tarvinel::x11
