#include "app/capture/portal/PortalPicture.h"

#include <algorithm>
#include <cstring>

namespace tarvinel {

namespace {

constexpr std::size_t bytesPerPixel = 4;

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

// From the first to the last pixel of a row that differs; empty when none does.
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

// Grows the last rectangle by a row that follows on it, or begins another one.
void addRow(PortalPicture::Rects& rects, const PixelRect& row) {
  if (rects.empty() || rects.back().maxY() != row.y) {
    rects.push_back(row);
    return;
  }
  PixelRect& last = rects.back();
  const std::int32_t left = std::min(last.x, row.x);
  last = {left, last.y, std::max(last.maxX(), row.maxX()) - left, last.height + 1};
}

}  // namespace

std::optional<CapturedFrame> PortalPicture::update(const RawPicture& picture,
                                                   const std::optional<Rects>& damage) {
  const bool known = fits(picture);
  if (!known) {
    buffer_ = std::make_shared<MemoryPixelBuffer>(static_cast<std::size_t>(picture.width),
                                                  static_cast<std::size_t>(picture.height));
  }
  const Rects changed = !known ? Rects{picture.area()} : damage ? *damage : differences(picture);
  if (changed.empty()) return std::nullopt;
  CapturedFrame frame{buffer_, FrameStatus::complete, {}, {}, std::vector<Rect>(), {}};
  for (const PixelRect& area : changed) {
    copy(picture, area);
    frame.dirtyRects->push_back(area.rect());
  }
  return frame;
}

bool PortalPicture::fits(const RawPicture& picture) const {
  return buffer_ && buffer_->width() == static_cast<std::size_t>(picture.width) &&
         buffer_->height() == static_cast<std::size_t>(picture.height);
}

void PortalPicture::copy(const RawPicture& picture, const PixelRect& area) {
  for (std::int32_t y = area.y; y < area.maxY(); ++y) {
    std::uint8_t* row = buffer_->pixels() + static_cast<std::size_t>(y) * buffer_->bytesPerRow();
    copyPixels(picture.row(y) + bytesOf(area.x), row + bytesOf(area.x), area.width, picture.order);
  }
}

PortalPicture::Rects PortalPicture::differences(const RawPicture& picture) const {
  Rects rects;
  for (std::int32_t y = 0; y < picture.height; ++y) {
    const std::uint8_t* row =
        buffer_->baseAddress() + static_cast<std::size_t>(y) * buffer_->bytesPerRow();
    const PixelRect difference = rowDifference(picture, y, row);
    if (!difference.isEmpty()) addRow(rects, difference);
  }
  return rects;
}

}  // namespace tarvinel
