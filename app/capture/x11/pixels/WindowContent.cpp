#include "app/capture/x11/pixels/WindowContent.h"

#include "app/x11/Connection.h"
#include "app/x11/Error.h"
#include "app/x11/Tree.h"

#include <xcb/composite.h>

#include <array>
#include <vector>

namespace tarvinel::x11 {

WindowContent::WindowContent(const Connection& connection, xcb_window_t window, bool hasXFixes)
    : connection_(connection),
      window_(window),
      size_(watch()),
      damage_(connection, window, hasXFixes) {
  connection.check(xcb_composite_redirect_window_checked(connection.get(), window,
                                                         XCB_COMPOSITE_REDIRECT_AUTOMATIC));
  renew();
}

WindowContent::~WindowContent() {
  for (const xcb_pixmap_t pixmap : {pixmap_, newest_}) {
    if (pixmap != XCB_NONE) xcb_free_pixmap(connection_.get(), pixmap);
  }
}

/// Returns the size whose changes later events report. Throws Error if it is too large to redirect.
WindowContent::Size WindowContent::watch() const {
  const std::uint32_t events = XCB_EVENT_MASK_STRUCTURE_NOTIFY | XCB_EVENT_MASK_VISIBILITY_CHANGE |
                               XCB_EVENT_MASK_PROPERTY_CHANGE | XCB_EVENT_MASK_ENTER_WINDOW |
                               XCB_EVENT_MASK_LEAVE_WINDOW;
  xcb_change_window_attributes(connection_.get(), window_, XCB_CW_EVENT_MASK, &events);
  const auto geometry =
      connection_.reply(xcb_get_geometry_reply, xcb_get_geometry(connection_.get(), window_));
  if (!fitsPixmap(*geometry)) throw Error::windowTooLarge();
  return {geometry->width, geometry->height, geometry->border_width};
}

bool WindowContent::handle(const xcb_generic_event_t& event) {
  if (damage_.isNotification(event)) {
    isPainted_ = isPainted_ || !isBefore(event, coveredAt_);
    return isDamaged_ = true;
  }
  if (isSynthetic(event) || !hasNewPixmap(event)) return false;
  renew();
  return true;
}

/// Both events come before anything is drawn into the new pixmap.
bool WindowContent::hasNewPixmap(const xcb_generic_event_t& event) {
  bool isNew = false;
  if (eventCode(event) == XCB_VISIBILITY_NOTIFY) {
    // it comes whenever the window becomes viewable, also with its parent, and not when it is
    // covered: a window with a pixmap of its own counts as never covered
    isNew = eventAs<xcb_visibility_notify_event_t>(event).window == window_;
  } else if (eventCode(event) == XCB_CONFIGURE_NOTIFY) {
    isNew = changesSize(eventAs<xcb_configure_notify_event_t>(event));
  }
  return isNew && !isBefore(event, namedAt_);
}

bool WindowContent::changesSize(const xcb_configure_notify_event_t& event) {
  if (event.window != window_) return false;
  const Size before = size_;
  size_ = {event.width, event.height, event.border_width};
  return size_ != before;
}

/// Does not wait, so that it takes effect before the owner's own painting if possible. It has no
/// effect while the window is not on the screen.
void WindowContent::renew() {
  if (newest_ != XCB_NONE) xcb_free_pixmap(connection_.get(), newest_);
  newest_ = xcb_generate_id(connection_.get());
  namedAt_ = xcb_composite_name_window_pixmap(connection_.get(), window_, newest_).sequence;
  cover(newest_);
  coveredAt_ = damage_.discard();
  requestRepaint(connection_, window_);
}

void WindowContent::cover(xcb_pixmap_t pixmap) const {
  constexpr std::uint16_t all = std::numeric_limits<std::uint16_t>::max();
  const std::array<std::uint32_t, 2> values{0, 0};
  const xcb_rectangle_t everywhere{0, 0, all, all};
  const xcb_gcontext_t gc = xcb_generate_id(connection_.get());
  xcb_create_gc(connection_.get(), gc, pixmap, XCB_GC_FOREGROUND | XCB_GC_GRAPHICS_EXPOSURES,
                values.data());
  xcb_poly_fill_rectangle(connection_.get(), pixmap, gc, 1, &everywhere);
  if (pixmap_ != XCB_NONE) {
    xcb_copy_area(connection_.get(), pixmap_, pixmap, gc, 0, 0, 0, 0,
                  static_cast<std::uint16_t>(pixmapArea_.width),
                  static_cast<std::uint16_t>(pixmapArea_.height));
  }
  xcb_free_gc(connection_.get(), gc);
}

void WindowContent::follow() {
  if (newest_ == XCB_NONE) return;
  const auto geometry =
      connection_.replyIfAny(xcb_get_geometry_reply, xcb_get_geometry(connection_.get(), newest_));
  if (geometry) {
    if (pixmap_ != XCB_NONE) xcb_free_pixmap(connection_.get(), pixmap_);
    pixmap_ = newest_;
    pixmapArea_ = {0, 0, geometry->width, geometry->height};
    requestRepaintInside(connection_, window_);
  }
  newest_ = XCB_NONE;
}

PixelRect WindowContent::inside() const {
  return PixelRect{size_.border, size_.border, size_.width, size_.height}.intersection(pixmapArea_);
}

std::optional<PixelRects> WindowContent::takeDamage() {
  if (!isDamaged_) return PixelRects{};
  isDamaged_ = false;
  auto damaged = damage_.take();
  if (!damaged) return std::nullopt;
  for (PixelRect& rect : *damaged)
    rect = rect.relativeTo(-size_.border, -size_.border);
  return damaged;
}

namespace {

constexpr std::size_t maxInside = 1000;  ///< windows in one window; real ones have a few dozen

}  // namespace

void requestRepaint(const Connection& connection, xcb_window_t window) {
  constexpr std::uint8_t withExposures = 1;
  xcb_clear_area(connection.get(), withExposures, window, 0, 0, 0, 0);
}

void requestRepaintInside(const Connection& connection, xcb_window_t window) {
  std::size_t asked = 0;
  auto level = childrenOf(connection, {window});
  while (!level.empty() && asked < maxInside) {
    for (const xcb_window_t inside : level)
      requestRepaint(connection, inside);
    asked += level.size();
    level = childrenOf(connection, level);
  }
}

}  // namespace tarvinel::x11
