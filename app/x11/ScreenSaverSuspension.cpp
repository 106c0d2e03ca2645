#include "app/x11/ScreenSaverSuspension.h"

#include <xcb/screensaver.h>

namespace tarvinel::x11 {

namespace {
// The main queue waits for at most this long per reply.
constexpr std::chrono::seconds limit{2};
}  // namespace

// The server ends the suspension with the connection.
ScreenSaverSuspension::ScreenSaverSuspension(const std::string& display)
    : connection_(display, {.replyTimeout = limit}) {
  if (connection_.extension(xcb_screensaver_id) == nullptr) return;
  connection_.reply(xcb_screensaver_query_version_reply,
                    xcb_screensaver_query_version(connection_.get(), 1, 1));
  connection_.check(xcb_screensaver_suspend_checked(connection_.get(), 1));
}

}  // namespace tarvinel::x11
