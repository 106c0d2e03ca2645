#include "app/capture/DirtyRegion.h"

#include <algorithm>

namespace tarvinel {

namespace {

bool touches(const RowBand& earlier, const RowBand& later) {
  return later.first <= earlier.end();
}

std::vector<RowBand> merged(std::vector<RowBand> bands) {
  std::sort(bands.begin(), bands.end(),
            [](const RowBand& a, const RowBand& b) { return a.first < b.first; });
  std::vector<RowBand> result;
  for (const RowBand& band : bands) {
    if (result.empty() || !touches(result.back(), band)) {
      result.push_back(band);
    } else {
      result.back().count = std::max(result.back().end(), band.end()) - result.back().first;
    }
  }
  return result;
}

}  // namespace

void DirtyRegion::add(const PixelRect& onScreen) {
  const PixelRect visible = onScreen.intersection(area_);
  if (!visible.isEmpty()) rects_.push_back(visible.relativeTo(area_.x, area_.y));
}

std::vector<Rect> DirtyRegion::rects() const {
  std::vector<Rect> result;
  result.reserve(rects_.size());
  for (const PixelRect& rect : rects_)
    result.push_back(rect.rect());
  return result;
}

std::vector<RowBand> DirtyRegion::bands(const std::optional<RowBand>& inseparable) const {
  std::vector<RowBand> rows;
  rows.reserve(rects_.size() + 1);
  for (const PixelRect& rect : rects_)
    rows.push_back({rect.y, rect.height});
  const bool reached =
      inseparable && std::any_of(rows.begin(), rows.end(),
                                 [&](const RowBand& band) { return band.meets(*inseparable); });
  if (reached) rows.push_back(*inseparable);
  return merged(std::move(rows));
}

}  // namespace tarvinel
