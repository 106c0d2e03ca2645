#include "app/capture/x11/pixels/Picture.h"

#include "app/x11/Connection.h"
#include "app/x11/Error.h"

#include <algorithm>
#include <cstring>
#include <exception>
#include <vector>

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

std::optional<CapturedFrame> Picture::update(const std::optional<PixelRects>& damaged,
                                             const std::optional<CursorImage>& cursor) {
  const DirtyRegion dirty = findChanges(damaged, cursor);
  if (dirty.isEmpty()) return std::nullopt;
  redraw(dirty, cursor);
  return frame(dirty);
}

DirtyRegion Picture::findChanges(const std::optional<PixelRects>& damaged,
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

/// Rows that are read again have no cursor. The rows under it are therefore read all or not at all,
/// and it is drawn if they were: never twice over the same pixels.
void Picture::redraw(const DirtyRegion& dirty, const std::optional<CursorImage>& cursor) {
  const auto rows = cursor ? cursorRows(*cursor, area()) : std::nullopt;
  const auto bands = dirty.bands(rows);
  everythingDirty_ = true;  // in case reading throws
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

namespace {

constexpr std::uint32_t allPlanes = 0xFFFFFFFFU;
constexpr std::size_t copiedBytes = std::size_t{1} << 20U;  ///< approximate maximum of one reply

}  // namespace

ImageReader::ImageReader(const Connection& connection, xcb_drawable_t drawable,
                         const PixelRect& area)
    : connection_(connection),
      drawable_(drawable),
      area_(area),
      buffer_(std::make_shared<ShmPixelBuffer>(area)),
      segment_(ShmSegment::attach(connection, buffer_->memory())) {}

void ImageReader::read(std::span<const RowBand> bands) {
  if (segment_) return readShared(bands);
  const auto atOnce =
      static_cast<std::int32_t>(std::max<std::size_t>(1, copiedBytes / buffer_->bytesPerRow()));
  for (const RowBand& band : bands) {
    for (std::int32_t row = band.first; row < band.end(); row += atOnce) {
      readCopied({row, std::min(atOnce, band.end() - row)});
    }
  }
}

void ImageReader::readShared(std::span<const RowBand> bands) {
  std::vector<xcb_shm_get_image_cookie_t> cookies;
  cookies.reserve(bands.size());
  for (const RowBand& band : bands) {
    const auto offset = static_cast<std::size_t>(band.first) * buffer_->bytesPerRow();
    cookies.push_back(xcb_shm_get_image(
        connection_.get(), drawable_, static_cast<std::int16_t>(area_.x),
        static_cast<std::int16_t>(area_.y + band.first), static_cast<std::uint16_t>(area_.width),
        static_cast<std::uint16_t>(band.count), allPlanes, XCB_IMAGE_FORMAT_Z_PIXMAP,
        segment_->id(), static_cast<std::uint32_t>(offset)));
  }
  // all replies are taken even if one is an error, so that none remains in xcb
  std::exception_ptr failure;
  for (const auto& cookie : cookies) {
    try {
      connection_.reply(xcb_shm_get_image_reply, cookie);
    } catch (const Error&) {
      if (!failure) failure = std::current_exception();
    }
  }
  if (failure) std::rethrow_exception(failure);
}

void ImageReader::readCopied(const RowBand& band) {
  const auto image = connection_.reply(
      xcb_get_image_reply, xcb_get_image(connection_.get(), XCB_IMAGE_FORMAT_Z_PIXMAP, drawable_,
                                         static_cast<std::int16_t>(area_.x),
                                         static_cast<std::int16_t>(area_.y + band.first),
                                         static_cast<std::uint16_t>(area_.width),
                                         static_cast<std::uint16_t>(band.count), allPlanes));
  const std::size_t size = static_cast<std::size_t>(band.count) * buffer_->bytesPerRow();
  if (static_cast<std::size_t>(image->length) * 4 < size) throw Error::malformedReply();
  std::memcpy(buffer_->pixels() + static_cast<std::size_t>(band.first) * buffer_->bytesPerRow(),
              xcb_get_image_data(image.get()), size);
}

}  // namespace tarvinel::x11
