#include "app/capture/x11/X11DisplaySource.h"

#include "app/capture/x11/X11Displays.h"
#include "app/capture/x11/X11Error.h"
#include "app/capture/x11/X11PixelFormat.h"

#include <xcb/xfixes.h>

namespace tarvinel {

namespace {

/// False when the server has no XFixes; regions came with version 2.
bool negotiateXFixes(const X11Connection& connection) {
  if (connection.extension(xcb_xfixes_id) == nullptr) return false;
  const auto version = connection.reply(xcb_xfixes_query_version_reply,
                                        xcb_xfixes_query_version(connection.get(), 4, 0));
  return version->major_version >= 2;
}

bool sameCursor(const std::optional<CursorImage>& a, const std::optional<CursorImage>& b) {
  return a && b ? a->sameAs(*b) : a.has_value() == b.has_value();
}

bool isBadMatch(const X11Error& error) {
  return error.code() == XCB_MATCH;
}

}  // namespace

X11DisplaySource::X11DisplaySource(const std::string& server, const X11Options& options,
                                   std::uint32_t displayID, bool showsCursor)
    : connection_(server, options), displayID_(displayID), monitors_(connection_) {
  requireBGRA(connection_);
  const bool hasXFixes = negotiateXFixes(connection_);
  damage_.emplace(connection_, hasXFixes);
  if (hasXFixes && showsCursor) cursor_.emplace(connection_);
  followDisplay();
}

void X11DisplaySource::handle(const xcb_generic_event_t& event) {
  const bool monitors = monitors_.isNotification(event);
  displayMayDiffer_ = displayMayDiffer_ || monitors;
  noticed_ = noticed_ || monitors || damage_->isNotification(event) ||
             (cursor_ && cursor_->isNotification(event));
}

std::optional<CapturedFrame> X11DisplaySource::capture() try {
  noticed_ = false;
  if (displayMayDiffer_) followDisplay();
  const auto cursor = cursor_ ? cursor_->read() : std::nullopt;
  const DirtyRegion dirty = findChanges(cursor);
  if (dirty.isEmpty()) return std::nullopt;
  redraw(dirty, cursor);
  return frame(dirty);
} catch (const X11Error& error) {
  if (!isBadMatch(error)) throw;
  // the display changed between two requests: the event that tells so brings the next attempt
  displayMayDiffer_ = everythingDirty_ = true;
  return std::nullopt;
}

void X11DisplaySource::followDisplay() {
  const auto display = findDisplay(connection_, displayID_);
  if (!display) throw X11Error(X11Error::Case::displayGone, "the display was disconnected");
  displayMayDiffer_ = false;
  if (reader_ && reader_->area() == display->area) return;
  reader_.emplace(connection_, display->area);
  everythingDirty_ = true;
}

DirtyRegion X11DisplaySource::findChanges(const std::optional<CursorImage>& cursor) {
  const auto damaged = damage_->take();
  DirtyRegion dirty(reader_->area());
  if (everythingDirty_ || !damaged) {
    dirty.add(reader_->area());
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
void X11DisplaySource::redraw(const DirtyRegion& dirty, const std::optional<CursorImage>& cursor) {
  const auto rows = cursor ? cursorRows(*cursor, reader_->area()) : std::nullopt;
  const auto bands = dirty.bands(rows);
  everythingDirty_ = true;  // until all has been read
  reader_->read(bands);
  everythingDirty_ = false;
  const auto& buffer = *reader_->buffer();
  for (const RowBand& band : bands) {
    if (!rows || !band.meets(*rows)) continue;
    blendCursor(*cursor, reader_->area(), reader_->buffer()->pixels(), buffer.bytesPerRow());
  }
  drawnCursor_ = cursor;
}

CapturedFrame X11DisplaySource::frame(const DirtyRegion& dirty) const {
  CapturedFrame frame;
  frame.buffer = reader_->buffer();
  frame.status = FrameStatus::complete;
  frame.dirtyRects = dirty.rects();
  return frame;
}

}  // namespace tarvinel
