#include "tests/support/XWindow.h"

#include <array>
#include <stdexcept>

namespace tarvinel {

namespace {

/// Returns a visual with an alpha channel.
xcb_visualid_t alphaVisual(const xcb_screen_t& screen) {
  for (auto depths = xcb_screen_allowed_depths_iterator(&screen); depths.rem > 0;
       xcb_depth_next(&depths)) {
    if (depths.data->depth == 32) return xcb_depth_visuals_iterator(depths.data).data->visual_id;
  }
  throw std::runtime_error("no visual with alpha");
}

std::uint32_t word(std::int32_t value) {
  return static_cast<std::uint32_t>(value);
}

}  // namespace

XWindow::XWindow(XClient& client, const PixelRect& area, const Look& look)
    : client_(client), id_(xcb_generate_id(client.get())) {
  const xcb_visualid_t visual =
      look.hasAlpha ? alphaVisual(client.screen()) : client.screen().root_visual;
  const xcb_colormap_t colours = xcb_generate_id(c());
  xcb_create_colormap(c(), XCB_COLORMAP_ALLOC_NONE, colours, client.root(), visual);
  // a window of another depth than the root's needs all of these
  const std::array<std::uint32_t, 4> values{look.background.value_or(XCB_BACK_PIXMAP_NONE), 0,
                                            look.isUnmanaged ? 1U : 0U, colours};
  xcb_create_window(c(), look.hasAlpha ? std::uint8_t{32} : client.screen().root_depth, id_,
                    look.parent == XCB_NONE ? client.root() : look.parent,
                    static_cast<std::int16_t>(area.x), static_cast<std::int16_t>(area.y),
                    static_cast<std::uint16_t>(area.width), static_cast<std::uint16_t>(area.height),
                    look.border, XCB_WINDOW_CLASS_INPUT_OUTPUT, visual,
                    (look.background ? XCB_CW_BACK_PIXEL : XCB_CW_BACK_PIXMAP) |
                        XCB_CW_BORDER_PIXEL | XCB_CW_OVERRIDE_REDIRECT | XCB_CW_COLORMAP,
                    values.data());
  if (look.isMapped) xcb_map_window(c(), id_);
  client_.sync();
}

void XWindow::fill(const PixelRect& rect, std::uint32_t colour) {
  const xcb_gcontext_t gc = xcb_generate_id(c());
  xcb_create_gc(c(), gc, id_, XCB_GC_FOREGROUND, &colour);
  const xcb_rectangle_t area{static_cast<std::int16_t>(rect.x), static_cast<std::int16_t>(rect.y),
                             static_cast<std::uint16_t>(rect.width),
                             static_cast<std::uint16_t>(rect.height)};
  xcb_poly_fill_rectangle(c(), id_, gc, 1, &area);
  xcb_free_gc(c(), gc);
  client_.sync();
}

void XWindow::place(const PixelRect& area) {
  const std::array<std::uint32_t, 4> values{word(area.x), word(area.y), word(area.width),
                                            word(area.height)};
  xcb_configure_window(c(), id_,
                       XCB_CONFIG_WINDOW_X | XCB_CONFIG_WINDOW_Y | XCB_CONFIG_WINDOW_WIDTH |
                           XCB_CONFIG_WINDOW_HEIGHT,
                       values.data());
  client_.sync();
}

void XWindow::raise() {
  const std::uint32_t above = XCB_STACK_MODE_ABOVE;
  xcb_configure_window(c(), id_, XCB_CONFIG_WINDOW_STACK_MODE, &above);
  client_.sync();
}

void XWindow::map() {
  xcb_map_window(c(), id_);
  client_.sync();
}

void XWindow::unmap() {
  xcb_unmap_window(c(), id_);
  client_.sync();
}

void XWindow::close() {
  xcb_destroy_window(c(), id_);
  client_.sync();
}

void XWindow::reparent(xcb_window_t parent) {
  xcb_reparent_window(c(), id_, parent, 0, 0);
  client_.sync();
}

void XWindow::setText(const std::string& property, const std::string& type,
                      const std::string& bytes) {
  xcb_change_property(c(), XCB_PROP_MODE_REPLACE, id_, client_.atom(property), client_.atom(type),
                      8, static_cast<std::uint32_t>(bytes.size()), bytes.data());
  client_.sync();
}

void XWindow::setNumbers(const std::string& property, const std::string& type,
                         const std::vector<std::uint32_t>& numbers) {
  xcb_change_property(c(), XCB_PROP_MODE_REPLACE, id_, client_.atom(property), client_.atom(type),
                      32, static_cast<std::uint32_t>(numbers.size()), numbers.data());
  client_.sync();
}

}  // namespace tarvinel
