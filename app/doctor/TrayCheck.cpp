#include "app/doctor/TrayCheck.h"

#include "app/x11/Connection.h"
#include "app/x11/Error.h"
#include "app/x11/TraySelection.h"

#include <systemd/sd-bus.h>

#include <cstdint>

namespace tarvinel {

namespace {

constexpr const char* watcher = "org.kde.StatusNotifierWatcher";
constexpr const char* watcherPath = "/StatusNotifierWatcher";

bool hasRegisteredHost(BusInquiry& bus) {
  int isRegistered = 0;
  bus.askProperty(watcher, watcherPath, watcher, "IsStatusNotifierHostRegistered",
                  [&isRegistered](sd_bus_message& value) {
                    sd_bus_message_read(&value, "v", "b", &isRegistered);
                  });
  return isRegistered != 0;
}

bool selectionHasOwner(const std::string& display) try {
  const x11::Connection connection(display, {.replyTimeout = x11::Options::probeLimit});
  const std::string name = x11::traySelection(display.c_str());
  const auto atom = connection.reply(
      xcb_intern_atom_reply,
      xcb_intern_atom(connection.get(), 1, static_cast<std::uint16_t>(name.size()), name.c_str()));
  if (atom->atom == XCB_ATOM_NONE) return false;
  const auto selection = connection.reply(xcb_get_selection_owner_reply,
                                          xcb_get_selection_owner(connection.get(), atom->atom));
  return selection->owner != XCB_WINDOW_NONE;
} catch (const x11::Error&) {
  return false;
}

}  // namespace

TrayFacts TrayFacts::of(const SessionFacts& session) {
  TrayFacts facts{.session = session};
  if (!session.hasDisplay()) return facts;
  BusInquiry bus(BusInquiry::Bus::session);
  facts.hasNotifierHost = hasRegisteredHost(bus);
  facts.bus = bus.state();
  if (!session.isWayland()) facts.hasEmbeddingTray = selectionHasOwner(session.environment.display);
  return facts;
}

Findings judge(const TrayFacts& facts) {
  using enum Finding::State;
  if (!facts.session.hasDisplay()) return {{fine, "Without a desktop none is needed."}};
  if (facts.hasNotifierHost || facts.hasEmbeddingTray)
    return {{fine, "A panel shows Tarvinel's icon; the menu is behind it."}};
  if (facts.bus == BusInquiry::State::isSilent) {
    return {{worthKnowing,
             "The session bus does not answer: the menu opens as a window.",
             {"Log out and in again."}}};
  }
  if (facts.bus == BusInquiry::State::isAbsent) {
    return {{worthKnowing,
             "There is no session bus: the menu opens as a window.",
             {"Start Tarvinel from within the desktop, not by su or sudo."}}};
  }
  return {{worthKnowing,
           "No panel shows icons of programs: the menu opens as a window.",
           {"In GNOME an extension gives one: AppIndicator and KStatusNotifierItem Support."}}};
}

Findings withoutTray() {
  return {{Finding::State::fine, "This build is for the terminal only: start it with --headless."}};
}

}  // namespace tarvinel
