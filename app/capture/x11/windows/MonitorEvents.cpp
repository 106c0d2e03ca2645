#include "app/capture/x11/windows/MonitorEvents.h"

#include "app/x11/Connection.h"
#include "app/x11/Event.h"

#include <xcb/randr.h>

namespace tarvinel::x11 {

MonitorEvents::MonitorEvents(const Connection& connection, std::uint32_t rootEvents)
    : root_(connection.root()) {
  // monitors defined by hand are announced by nothing but a ConfigureNotify of the root window
  const std::uint32_t mask = XCB_EVENT_MASK_STRUCTURE_NOTIFY | rootEvents;
  xcb_change_window_attributes(connection.get(), connection.root(), XCB_CW_EVENT_MASK, &mask);
  const auto* randr = connection.extension(xcb_randr_id);
  if (randr == nullptr) return;
  firstEvent_ = randr->first_event;
  xcb_randr_select_input(connection.get(), connection.root(),
                         XCB_RANDR_NOTIFY_MASK_SCREEN_CHANGE | XCB_RANDR_NOTIFY_MASK_CRTC_CHANGE |
                             XCB_RANDR_NOTIFY_MASK_OUTPUT_CHANGE);
}

bool MonitorEvents::isNotification(const xcb_generic_event_t& event) const {
  const int code = eventCode(event);
  if (code == XCB_CONFIGURE_NOTIFY) {
    return reinterpret_cast<const xcb_configure_notify_event_t&>(event).window == root_;
  }
  return firstEvent_ && (code == *firstEvent_ + XCB_RANDR_SCREEN_CHANGE_NOTIFY ||
                         code == *firstEvent_ + XCB_RANDR_NOTIFY);
}

}  // namespace tarvinel::x11
