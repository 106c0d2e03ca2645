#include "app/capture/x11/pixels/AppCanvas.h"

#include "app/x11/Connection.h"

#include <algorithm>
#include <array>

namespace tarvinel::x11 {

namespace {

std::int16_t coordinate(std::int32_t value) {
  return static_cast<std::int16_t>(value);
}

std::uint16_t length(std::int32_t value) {
  return static_cast<std::uint16_t>(value);
}

bool isColourFormat(const xcb_render_pictforminfo_t& format, std::uint8_t depth,
                    std::uint16_t alphaMask) {
  const xcb_render_directformat_t& direct = format.direct;
  return format.type == XCB_RENDER_PICT_TYPE_DIRECT && format.depth == depth &&
         direct.red_shift == 16 && direct.red_mask == 0xFF && direct.green_shift == 8 &&
         direct.green_mask == 0xFF && direct.blue_shift == 0 && direct.blue_mask == 0xFF &&
         direct.alpha_mask == alphaMask;
}

xcb_render_pictformat_t findFormat(const xcb_render_query_pict_formats_reply_t& formats,
                                   std::uint8_t depth, std::uint16_t alphaMask) {
  const auto* first = xcb_render_query_pict_formats_formats(&formats);
  const int count = xcb_render_query_pict_formats_formats_length(&formats);
  for (int i = 0; i < count; ++i) {
    if (isColourFormat(first[i], depth, alphaMask)) return first[i].id;
  }
  return XCB_NONE;
}

}  // namespace

AppCanvas::AppCanvas(const Connection& connection, const PixelRect& area, bool hasRender)
    : connection_(connection),
      area_(area),
      pixmap_(xcb_generate_id(connection.get())),
      gc_(xcb_generate_id(connection.get())) {
  connection.check(xcb_create_pixmap_checked(connection.get(), connection.screen().root_depth,
                                             pixmap_, connection.root(), length(area.width),
                                             length(area.height)));
  const std::array<std::uint32_t, 2> values{0, 0};
  xcb_create_gc(connection.get(), gc_, pixmap_, XCB_GC_FOREGROUND | XCB_GC_GRAPHICS_EXPOSURES,
                values.data());
  if (hasRender) preparePictures();
  clear(area_);
}

AppCanvas::~AppCanvas() {
  if (picture_ != XCB_NONE) xcb_render_free_picture(connection_.get(), picture_);
  xcb_free_gc(connection_.get(), gc_);
  xcb_free_pixmap(connection_.get(), pixmap_);
}

void AppCanvas::preparePictures() {
  const auto formats = connection_.reply(xcb_render_query_pict_formats_reply,
                                         xcb_render_query_pict_formats(connection_.get()));
  const auto own = findFormat(*formats, connection_.screen().root_depth, 0);
  alphaFormat_ = findFormat(*formats, 32, 0xFF);
  if (own == XCB_NONE || alphaFormat_ == XCB_NONE) return;
  picture_ = xcb_generate_id(connection_.get());
  xcb_render_create_picture(connection_.get(), picture_, pixmap_, own, 0, nullptr);
}

void AppCanvas::draw(const std::vector<Layer>& layers, const PixelRects& parts) {
  for (const PixelRect& part : parts) {
    const PixelRect visible = part.intersection(area_);
    if (visible.isEmpty()) continue;
    clear(visible);
    for (const Layer& layer : layers)
      put(layer, layer.area.intersection(visible));
  }
}

void AppCanvas::clear(const PixelRect& part) const {
  const PixelRect inside = part.relativeTo(area_.x, area_.y);
  const xcb_rectangle_t rectangle{coordinate(inside.x), coordinate(inside.y), length(inside.width),
                                  length(inside.height)};
  xcb_poly_fill_rectangle(connection_.get(), pixmap_, gc_, 1, &rectangle);
}

void AppCanvas::put(const Layer& layer, const PixelRect& part) const {
  if (part.isEmpty()) return;
  if (!layer.hasAlpha) {
    copy(layer, part);
  } else if (picture_ != XCB_NONE) {
    blend(layer, part);
  }
}

void AppCanvas::copy(const Layer& layer, const PixelRect& part) const {
  const PixelRect from = part.relativeTo(layer.area.x, layer.area.y);
  const PixelRect to = part.relativeTo(area_.x, area_.y);
  xcb_copy_area(connection_.get(), layer.pixmap, pixmap_, gc_, coordinate(from.x),
                coordinate(from.y), coordinate(to.x), coordinate(to.y), length(part.width),
                length(part.height));
}

void AppCanvas::blend(const Layer& layer, const PixelRect& part) const {
  const PixelRect from = part.relativeTo(layer.area.x, layer.area.y);
  const PixelRect to = part.relativeTo(area_.x, area_.y);
  const xcb_render_picture_t source = xcb_generate_id(connection_.get());
  xcb_render_create_picture(connection_.get(), source, layer.pixmap, alphaFormat_, 0, nullptr);
  xcb_render_composite(connection_.get(), XCB_RENDER_PICT_OP_OVER, source, XCB_NONE, picture_,
                       coordinate(from.x), coordinate(from.y), 0, 0, coordinate(to.x),
                       coordinate(to.y), length(part.width), length(part.height));
  xcb_render_free_picture(connection_.get(), source);
}

namespace {

/// Returns the layer at that height, or an empty one if there is none.
Layer layerAt(const std::vector<Layer>& layers, std::size_t height) {
  return height < layers.size() ? layers[height] : Layer{};
}

}  // namespace

PixelRects changedAreas(const std::vector<Layer>& before, const std::vector<Layer>& after) {
  PixelRects changed;
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
