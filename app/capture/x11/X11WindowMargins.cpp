#include "app/capture/x11/X11WindowMargins.h"

#include "app/capture/x11/X11Atoms.h"
#include "app/capture/x11/X11Connection.h"
#include "app/capture/x11/X11Event.h"
#include "app/capture/x11/X11Property.h"

#include <algorithm>
#include <cstddef>

namespace tarvinel {

X11WindowMargins::X11WindowMargins(const X11Connection& connection, xcb_window_t window)
    : connection_(connection),
      window_(window),
      property_(internAtom(connection, "_GTK_FRAME_EXTENTS")) {}

bool X11WindowMargins::handle(const xcb_generic_event_t& event) {
  if (eventCode(event) != XCB_PROPERTY_NOTIFY) return false;
  const auto& property = eventAs<xcb_property_notify_event_t>(event);
  const bool isThis = property.window == window_ && property.atom == property_;
  isKnown_ = isKnown_ && !isThis;
  return isThis;
}

PixelRect X11WindowMargins::without(const PixelRect& window) {
  if (!isKnown_) widths_ = marginsIn(readProperty(connection_, window_, property_));
  isKnown_ = true;
  return withoutMargins(window, widths_);
}

X11WindowMargins::Widths marginsIn(const std::optional<X11Property>& property) {
  X11WindowMargins::Widths widths{};
  const std::vector<std::uint32_t> numbers =
      property ? property->numbers() : std::vector<std::uint32_t>{};
  if (numbers.size() == widths.size()) std::copy(numbers.begin(), numbers.end(), widths.begin());
  return widths;
}

PixelRect withoutMargins(const PixelRect& window, const X11WindowMargins::Widths& margins) {
  const auto [left, right, top, bottom] = margins;
  const auto width = static_cast<std::int64_t>(window.width) - left - right;
  const auto height = static_cast<std::int64_t>(window.height) - top - bottom;
  if (width < 1 || height < 1) return window;
  return {window.x + static_cast<std::int32_t>(left), window.y + static_cast<std::int32_t>(top),
          static_cast<std::int32_t>(width), static_cast<std::int32_t>(height)};
}

}  // namespace tarvinel
