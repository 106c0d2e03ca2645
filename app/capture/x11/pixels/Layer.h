#pragma once

#include "core/support/PixelRect.h"

#include <xcb/xcb.h>

#include <vector>

namespace tarvinel::x11 {

/// What one window puts into the picture of its application. Plain value.
struct Layer {
  xcb_window_t window = XCB_NONE;
  xcb_pixmap_t pixmap = XCB_NONE;
  PixelRect area;  ///< of the whole pixmap, on the root window
  bool hasAlpha = false;

  bool operator==(const Layer&) const = default;
};

/// The areas in which the second picture may differ from the first, apart from what the windows
/// have drawn. Layers are given lowest first. Pure.
std::vector<PixelRect> changedAreas(const std::vector<Layer>& before,
                                    const std::vector<Layer>& after);

}  // namespace tarvinel::x11
