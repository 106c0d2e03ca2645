#include "app/capture/x11/pixels/PixelFormat.h"

#include "app/x11/Connection.h"
#include "app/x11/Error.h"

#include <optional>

namespace tarvinel::x11 {

namespace {

bool hasWidePixels(const xcb_setup_t& setup, std::uint8_t depth) {
  if (depth != 24 && depth != 32) return false;
  for (auto formats = xcb_setup_pixmap_formats_iterator(&setup); formats.rem > 0;
       xcb_format_next(&formats)) {
    if (formats.data->depth == depth) return formats.data->bits_per_pixel == 32;
  }
  return false;
}

bool isTrueColourBGR(const xcb_visualtype_t& visual) {
  return visual._class == XCB_VISUAL_CLASS_TRUE_COLOR && visual.red_mask == 0xFF0000U &&
         visual.green_mask == 0xFF00U && visual.blue_mask == 0xFFU;
}

struct FoundVisual {
  std::uint8_t depth = 0;
  const xcb_visualtype_t* type = nullptr;
};

std::optional<FoundVisual> findVisual(const xcb_screen_t& screen, xcb_visualid_t id) {
  for (auto depths = xcb_screen_allowed_depths_iterator(&screen); depths.rem > 0;
       xcb_depth_next(&depths)) {
    for (auto visuals = xcb_depth_visuals_iterator(depths.data); visuals.rem > 0;
         xcb_visualtype_next(&visuals)) {
      if (visuals.data->visual_id == id) return FoundVisual{depths.data->depth, visuals.data};
    }
  }
  return std::nullopt;
}

}  // namespace

bool isBGRA(const Connection& connection, std::uint32_t visual) {
  const auto& setup = *xcb_get_setup(connection.get());
  const auto found = findVisual(connection.screen(), visual);
  return setup.image_byte_order == XCB_IMAGE_ORDER_LSB_FIRST && found &&
         hasWidePixels(setup, found->depth) && isTrueColourBGR(*found->type);
}

void requireBGRA(const Connection& connection) {
  requireBGRA(connection, connection.screen().root_visual);
}

void requireBGRA(const Connection& connection, std::uint32_t visual) {
  if (isBGRA(connection, visual)) return;
  throw Error(Error::Case::unsupportedPixels,
              "the X server does not show true colour with 32 bits a pixel");
}

}  // namespace tarvinel::x11
