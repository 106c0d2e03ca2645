#include "app/capture/x11/X11Layer.h"

#include <algorithm>

namespace tarvinel {

namespace {

/// Of the layer at that height; empty where there is none.
X11Layer layerAt(const std::vector<X11Layer>& layers, std::size_t height) {
  return height < layers.size() ? layers[height] : X11Layer{};
}

}  // namespace

std::vector<PixelRect> changedAreas(const std::vector<X11Layer>& before,
                                    const std::vector<X11Layer>& after) {
  std::vector<PixelRect> changed;
  for (std::size_t i = 0; i < std::max(before.size(), after.size()); ++i) {
    const X11Layer old = layerAt(before, i);
    const X11Layer now = layerAt(after, i);
    if (old == now) continue;
    for (const PixelRect& area : {old.area, now.area}) {
      if (!area.isEmpty()) changed.push_back(area);
    }
  }
  return changed;
}

}  // namespace tarvinel
