#include "app/capture/x11/pixels/Damage.h"

#include "app/x11/Connection.h"
#include "app/x11/Error.h"

namespace tarvinel::x11 {

Damage::Damage(const Connection& connection, xcb_drawable_t drawable, bool hasXFixes)
    : connection_(connection) {
  const auto* extension = connection.extension(xcb_damage_id);
  if (extension == nullptr) {
    throw Error(Error::Case::noDamageExtension,
                "the X server cannot tell what changes on the screen (no DAMAGE extension)");
  }
  eventCode_ = static_cast<std::uint8_t>(extension->first_event + XCB_DAMAGE_NOTIFY);
  connection.reply(xcb_damage_query_version_reply,
                   xcb_damage_query_version(connection.get(), 1, 1));
  if (hasXFixes) {
    region_ = xcb_generate_id(connection.get());
    connection.check(xcb_xfixes_create_region_checked(connection.get(), region_, 0, nullptr));
  }
  damage_ = xcb_generate_id(connection.get());
  connection.check(xcb_damage_create_checked(connection.get(), damage_, drawable,
                                             XCB_DAMAGE_REPORT_LEVEL_NON_EMPTY));
}

// Both may be gone with their window: the server's error event is then ignored.
Damage::~Damage() {
  xcb_damage_destroy(connection_.get(), damage_);
  if (region_ != XCB_XFIXES_REGION_NONE) xcb_xfixes_destroy_region(connection_.get(), region_);
}

bool Damage::isNotification(const xcb_generic_event_t& event) const {
  return eventCode(event) == eventCode_ &&
         reinterpret_cast<const xcb_damage_notify_event_t&>(event).damage == damage_;
}

std::uint32_t Damage::discard() {
  return xcb_damage_subtract(connection_.get(), damage_, XCB_XFIXES_REGION_NONE,
                             XCB_XFIXES_REGION_NONE)
      .sequence;
}

std::optional<PixelRects> Damage::take() {
  xcb_damage_subtract(connection_.get(), damage_, XCB_XFIXES_REGION_NONE, region_);
  if (region_ == XCB_XFIXES_REGION_NONE) return std::nullopt;
  const auto region = connection_.reply(xcb_xfixes_fetch_region_reply,
                                        xcb_xfixes_fetch_region(connection_.get(), region_));
  const auto* rects = xcb_xfixes_fetch_region_rectangles(region.get());
  const int count = xcb_xfixes_fetch_region_rectangles_length(region.get());
  PixelRects damaged;
  damaged.reserve(static_cast<std::size_t>(count));
  for (int i = 0; i < count; ++i) {
    damaged.push_back({rects[i].x, rects[i].y, rects[i].width, rects[i].height});
  }
  return damaged;
}

}  // namespace tarvinel::x11
