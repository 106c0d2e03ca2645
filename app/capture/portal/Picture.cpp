#include "app/capture/portal/Picture.h"

#include <algorithm>
#include <cstring>

namespace tarvinel::portal {

namespace {

std::size_t bytesOf(std::int32_t pixels) {
  return static_cast<std::size_t>(pixels) * bytesPerPixel;
}

bool samePixel(const std::uint8_t* raw, const std::uint8_t* bgra, PixelOrder order) {
  if (order == PixelOrder::bgr) return std::memcmp(raw, bgra, 3) == 0;
  return raw[0] == bgra[2] && raw[1] == bgra[1] && raw[2] == bgra[0];
}

void copyPixels(const std::uint8_t* raw, std::uint8_t* bgra, std::int32_t count, PixelOrder order) {
  if (order == PixelOrder::bgr) {
    std::memcpy(bgra, raw, bytesOf(count));
    return;
  }
  for (std::size_t at = 0; at < bytesOf(count); at += bytesPerPixel) {
    bgra[at] = raw[at + 2];
    bgra[at + 1] = raw[at + 1];
    bgra[at + 2] = raw[at];
    bgra[at + 3] = raw[at + 3];
  }
}

// Returns the span from the first to the last differing pixel of a row; empty if none differs.
PixelRect rowDifference(const RawPicture& picture, std::int32_t y, const std::uint8_t* shown) {
  const std::uint8_t* raw = picture.row(y);
  const auto same = [&](std::int32_t x) {
    return samePixel(raw + bytesOf(x), shown + bytesOf(x), picture.order);
  };
  std::int32_t first = 0;
  std::int32_t end = picture.width;
  if (picture.order == PixelOrder::bgr && std::memcmp(raw, shown, bytesOf(end)) == 0) return {};
  while (first < end && same(first))
    ++first;
  while (end > first && same(end - 1))
    --end;
  return {first, y, end - first, first < end ? 1 : 0};
}

// Extends the last rectangle by a row that follows it, or begins another one.
void addRow(PixelRects& rects, const PixelRect& row) {
  if (rects.empty() || rects.back().maxY() != row.y) {
    rects.push_back(row);
    return;
  }
  PixelRect& last = rects.back();
  const std::int32_t left = std::min(last.x, row.x);
  last = {left, last.y, std::max(last.maxX(), row.maxX()) - left, last.height + 1};
}

}  // namespace

std::optional<CapturedFrame> Picture::update(const RawPicture& picture,
                                             const std::optional<PixelRects>& damage) {
  const bool known = fits(picture);
  restoreBelowCursor();
  if (!known) {
    buffer_ = std::make_shared<MemoryPixelBuffer>(static_cast<std::size_t>(picture.width),
                                                  static_cast<std::size_t>(picture.height));
  }
  const PixelRects whole{picture.area()};
  // some compositors report the whole screen as damaged when a character is typed
  const PixelRects changed = known ? differences(picture, damage.value_or(whole)) : whole;
  for (const PixelRect& area : changed)
    copy(picture, area);
  if (cursor_) drawCursor(*cursor_);
  if (changed.empty()) return std::nullopt;
  return frame(changed);
}

std::optional<CapturedFrame> Picture::showCursor(const std::optional<CursorImage>& cursor) {
  cursor_ = cursor;
  if (!buffer_) return std::nullopt;
  const PixelRect before = covered_;
  restoreBelowCursor();
  if (cursor_) drawCursor(*cursor_);
  PixelRects changed;
  for (const PixelRect& rect : {before, covered_}) {
    if (!rect.isEmpty()) changed.push_back(rect);
  }
  if (changed.empty()) return std::nullopt;
  return frame(changed);
}

CapturedFrame Picture::frame(const PixelRects& changed) const {
  CapturedFrame frame{buffer_, FrameStatus::complete, {}, {}, std::vector<Rect>(), {}};
  for (const PixelRect& rect : changed)
    frame.dirtyRects->push_back(rect.rect());
  return frame;
}

PixelRect Picture::area() const {
  return {0, 0, static_cast<std::int32_t>(buffer_->width()),
          static_cast<std::int32_t>(buffer_->height())};
}

void Picture::restoreBelowCursor() {
  const std::uint8_t* from = below_.data();
  for (std::int32_t y = covered_.y; y < covered_.maxY(); ++y) {
    std::copy_n(from, bytesOf(covered_.width), pixelsAt(covered_.x, y));
    from += bytesOf(covered_.width);
  }
  covered_ = {};
}

void Picture::drawCursor(const CursorImage& cursor) {
  covered_ = cursor.area.intersection(area());
  if (covered_.isEmpty()) covered_ = {};
  below_.clear();
  for (std::int32_t y = covered_.y; y < covered_.maxY(); ++y) {
    const std::uint8_t* row = pixelsAt(covered_.x, y);
    below_.insert(below_.end(), row, row + bytesOf(covered_.width));
  }
  blendCursor(cursor, area(), buffer_->pixels(), buffer_->bytesPerRow());
}

std::uint8_t* Picture::pixelsAt(std::int32_t x, std::int32_t y) const {
  return buffer_->pixels() + static_cast<std::size_t>(y) * buffer_->bytesPerRow() + bytesOf(x);
}

bool Picture::fits(const RawPicture& picture) const {
  return buffer_ && buffer_->width() == static_cast<std::size_t>(picture.width) &&
         buffer_->height() == static_cast<std::size_t>(picture.height);
}

void Picture::copy(const RawPicture& picture, const PixelRect& area) {
  for (std::int32_t y = area.y; y < area.maxY(); ++y) {
    copyPixels(picture.row(y) + bytesOf(area.x), pixelsAt(area.x, y), area.width, picture.order);
  }
}

PixelRects Picture::differences(const RawPicture& picture, const PixelRects& areas) const {
  PixelRects rects;
  for (const PixelRect& area : areas) {
    const RawPicture part = picture.part(area);
    for (std::int32_t y = 0; y < area.height; ++y) {
      const PixelRect row = rowDifference(part, y, pixelsAt(area.x, area.y + y));
      if (!row.isEmpty()) addRow(rects, row.relativeTo(-area.x, -area.y));
    }
  }
  return rects;
}

}  // namespace tarvinel::portal
