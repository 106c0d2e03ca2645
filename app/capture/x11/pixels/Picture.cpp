#include "app/capture/x11/pixels/Picture.h"

namespace tarvinel::x11 {

namespace {

bool sameCursor(const std::optional<CursorImage>& a, const std::optional<CursorImage>& b) {
  return a && b ? a->sameAs(*b) : a.has_value() == b.has_value();
}

}  // namespace

Picture::Picture(const Connection& connection, xcb_drawable_t drawable, const PixelRect& area)
    : reader_(connection, drawable, area) {}

void Picture::show(xcb_drawable_t drawable) {
  reader_.readFrom(drawable);
  everythingDirty_ = true;
}

std::optional<CapturedFrame> Picture::update(const std::optional<Rects>& damaged,
                                             const std::optional<CursorImage>& cursor) {
  const DirtyRegion dirty = findChanges(damaged, cursor);
  if (dirty.isEmpty()) return std::nullopt;
  redraw(dirty, cursor);
  return frame(dirty);
}

DirtyRegion Picture::findChanges(const std::optional<Rects>& damaged,
                                 const std::optional<CursorImage>& cursor) const {
  DirtyRegion dirty(area());
  if (everythingDirty_ || !damaged) {
    dirty.add(area());
    return dirty;
  }
  for (const PixelRect& rect : *damaged)
    dirty.add(rect);
  if (!sameCursor(cursor, drawnCursor_)) {
    if (drawnCursor_) dirty.add(drawnCursor_->area);
    if (cursor) dirty.add(cursor->area);
  }
  return dirty;
}

/// Rows read anew have no cursor. So the rows under it are read all or none, and it is drawn when
/// they were: never twice over the same pixels.
void Picture::redraw(const DirtyRegion& dirty, const std::optional<CursorImage>& cursor) {
  const auto rows = cursor ? cursorRows(*cursor, area()) : std::nullopt;
  const auto bands = dirty.bands(rows);
  everythingDirty_ = true;  // until all has been read
  reader_.read(bands);
  everythingDirty_ = false;
  ShmPixelBuffer& buffer = *reader_.buffer();
  for (const RowBand& band : bands) {
    if (!rows || !band.meets(*rows)) continue;
    blendCursor(*cursor, area(), buffer.pixels(), buffer.bytesPerRow());
  }
  drawnCursor_ = cursor;
}

CapturedFrame Picture::frame(const DirtyRegion& dirty) const {
  CapturedFrame frame;
  frame.buffer = reader_.buffer();
  frame.status = FrameStatus::complete;
  frame.dirtyRects = dirty.rects();
  return frame;
}

}  // namespace tarvinel::x11
