#pragma once

#include "core/support/Geometry.h"

#include <xcb/render.h>
#include <xcb/xcb.h>

#include <optional>
#include <vector>

namespace tarvinel::x11 {

class Connection;

/// The part of one window in the picture of its application. Plain value.
struct Layer {
  xcb_window_t window = XCB_NONE;
  xcb_pixmap_t pixmap = XCB_NONE;
  PixelRect area;  ///< of the whole pixmap, on the root window
  bool hasAlpha = false;

  bool operator==(const Layer&) const = default;
};

/// Returns the areas in which the second picture may differ from the first, apart from what the
/// windows have drawn. Layers are given lowest first. Pure.
PixelRects changedAreas(const std::vector<Layer>& before, const std::vector<Layer>& after);

/// A server-side pixmap in which the windows of an application are composed on black, so that this
/// program reads only the composed pixels. Must not outlive the connection.
class AppCanvas {
 public:
  /// `area` is the canvas's place on the root window, whose pixel format it has. Without Render,
  /// windows with alpha are left out. Throws Error.
  AppCanvas(const Connection& connection, const PixelRect& area, bool hasRender);
  ~AppCanvas();
  AppCanvas(const AppCanvas&) = delete;
  AppCanvas& operator=(const AppCanvas&) = delete;

  const PixelRect& area() const { return area_; }
  xcb_pixmap_t pixmap() const { return pixmap_; }

  /// Draws the layers, given lowest first, into these parts (on the root window). Does not wait.
  void draw(const std::vector<Layer>& layers, const PixelRects& parts);

 private:
  void preparePictures();
  void clear(const PixelRect& part) const;
  void put(const Layer& layer, const PixelRect& part) const;
  void copy(const Layer& layer, const PixelRect& part) const;
  void blend(const Layer& layer, const PixelRect& part) const;

  const Connection& connection_;
  const PixelRect area_;
  xcb_pixmap_t pixmap_;
  xcb_gcontext_t gc_;
  xcb_render_picture_t picture_ = XCB_NONE;  ///< XCB_NONE: windows with alpha are left out
  xcb_render_pictformat_t alphaFormat_ = XCB_NONE;
};

}  // namespace tarvinel::x11
