#include "app/capture/x11/windows/FrameExtents.h"

#include "app/x11/Connection.h"
#include "app/x11/Property.h"

#include <algorithm>
#include <cstddef>

namespace tarvinel::x11 {

FrameExtents::FrameExtents(const Connection& connection, xcb_window_t window)
    : connection_(connection),
      window_(window),
      property_(internAtom(connection, "_GTK_FRAME_EXTENTS")) {}

bool FrameExtents::handle(const xcb_generic_event_t& event) {
  if (eventCode(event) != XCB_PROPERTY_NOTIFY) return false;
  const auto& property = eventAs<xcb_property_notify_event_t>(event);
  const bool isThis = property.window == window_ && property.atom == property_;
  isKnown_ = isKnown_ && !isThis;
  return isThis;
}

PixelRect FrameExtents::without(const PixelRect& window) {
  if (!isKnown_) widths_ = marginsIn(readProperty(connection_, window_, property_));
  isKnown_ = true;
  return withoutMargins(window, widths_);
}

FrameExtents::Widths marginsIn(const std::optional<Property>& property) {
  FrameExtents::Widths widths{};
  const std::vector<std::uint32_t> numbers =
      property ? property->numbers() : std::vector<std::uint32_t>{};
  if (numbers.size() == widths.size()) std::copy(numbers.begin(), numbers.end(), widths.begin());
  return widths;
}

PixelRect withoutMargins(const PixelRect& window, const FrameExtents::Widths& margins) {
  const auto [left, right, top, bottom] = margins;
  const auto width = static_cast<std::int64_t>(window.width) - left - right;
  const auto height = static_cast<std::int64_t>(window.height) - top - bottom;
  if (width < 1 || height < 1) return window;
  return {window.x + static_cast<std::int32_t>(left), window.y + static_cast<std::int32_t>(top),
          static_cast<std::int32_t>(width), static_cast<std::int32_t>(height)};
}

}  // namespace tarvinel::x11
