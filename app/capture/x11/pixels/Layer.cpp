#include "app/capture/x11/pixels/Layer.h"

#include <algorithm>

namespace tarvinel::x11 {

namespace {

/// Of the layer at that height; empty where there is none.
Layer layerAt(const std::vector<Layer>& layers, std::size_t height) {
  return height < layers.size() ? layers[height] : Layer{};
}

}  // namespace

std::vector<PixelRect> changedAreas(const std::vector<Layer>& before,
                                    const std::vector<Layer>& after) {
  std::vector<PixelRect> changed;
  for (std::size_t i = 0; i < std::max(before.size(), after.size()); ++i) {
    const Layer old = layerAt(before, i);
    const Layer now = layerAt(after, i);
    if (old == now) continue;
    for (const PixelRect& area : {old.area, now.area}) {
      if (!area.isEmpty()) changed.push_back(area);
    }
  }
  return changed;
}

}  // namespace tarvinel::x11
