#include "app/doctor/DesktopChecks.h"

#include "app/capture/x11/windows/Displays.h"
#include "app/x11/Connection.h"
#include "app/x11/Error.h"
#include "app/x11/Property.h"

#include <xcb/composite.h>
#include <xcb/damage.h>
#include <xcb/randr.h>
#include <xcb/res.h>
#include <xcb/shm.h>
#include <xcb/xfixes.h>

#include <fmt/format.h>
#include <systemd/sd-bus.h>

#include <array>
#include <cstdint>
#include <utility>

namespace tarvinel {

namespace {

using Extension = DisplayProbe::Extension;
using enum Finding::State;

std::vector<Extension> missingFrom(const x11::Connection& connection) {
  const std::array<std::pair<Extension, xcb_extension_t*>, 6> all{
      {{Extension::damage, &xcb_damage_id},
       {Extension::composite, &xcb_composite_id},
       {Extension::fixes, &xcb_xfixes_id},
       {Extension::randr, &xcb_randr_id},
       {Extension::resources, &xcb_res_id},
       {Extension::sharedMemory, &xcb_shm_id}}};
  std::vector<Extension> missing;
  for (const auto& [extension, id] : all) {
    if (connection.extension(*id) == nullptr) missing.push_back(extension);
  }
  return missing;
}

Finding without(Extension extension) {
  switch (extension) {
    case Extension::damage:
      return {needsAttention,
              "The X server has no DAMAGE extension: its screen cannot be shared.",
              {"Start the X server with the extension (+extension DAMAGE)."}};
    case Extension::composite:
      return {worthKnowing,
              "The X server has no Composite extension: only whole displays can be shared.",
              {"Start the X server with the extension (+extension Composite)."}};
    case Extension::fixes:
      return {worthKnowing, "The X server has no XFIXES extension: viewers see no pointer."};
    case Extension::randr:
      return {worthKnowing, "The X server has no RANDR extension: all monitors are one display."};
    case Extension::resources:
      return {worthKnowing,
              "The X server has no X-Resource extension: some applications may not be listed."};
    case Extension::sharedMemory:
      break;
  }
  return {worthKnowing,
          "The X server has no MIT-SHM extension: pictures take more processor time."};
}

std::string screenOf(const DisplayProbe& server) {
  return fmt::format("{} × {} pixels, {} {}", server.width, server.height, server.displays,
                     server.displays == 1 ? "display" : "displays");
}

Finding unreachable(const ScreenProbe& probe) {
  return {needsAttention,
          probe.decision.backend == CaptureBackend::x11
              ? fmt::format("The X11 screen cannot be captured: {}.", probe.server.error)
              : probe.decision.reason,
          {"Look whether DISPLAY is right, and whether this user may use the display (xhost, "
           "XAUTHORITY)."}};
}

Finding hangingServer(const std::string& display) {
  return {needsAttention,
          fmt::format("The X server {} takes connections but does not answer.", display),
          {"Look whether DISPLAY is right, or log in again."}};
}

}  // namespace

DisplayProbe DisplayProbe::of(const std::string& display, std::chrono::milliseconds limit) try {
  const x11::Connection connection(display, {.replyTimeout = limit});
  const PixelRect area = connection.rootArea();
  return {.error = "",
          .width = area.width,
          .height = area.height,
          .displays = static_cast<int>(listDisplays(connection).size()),
          .missing = missingFrom(connection)};
} catch (const x11::Error& error) {
  return {.error = error.what(), .hangs = error.kind() == x11::Error::Case::notResponding};
}

ScreenProbe ScreenProbe::of(CaptureBackend wanted, const CaptureEnvironment& environment) {
  ScreenProbe probe{.wanted = wanted, .display = environment.display};
  const auto replies = [&probe](const std::string& name) {
    probe.server = DisplayProbe::of(name);
    return probe.server.error.empty();
  };
  probe.decision = chooseCaptureBackend(wanted, environment, replies);
  if (wanted == CaptureBackend::x11) replies(environment.display);
  return probe;
}

Findings judge(const ScreenProbe& probe) {
  if (probe.server.hangs) return {hangingServer(probe.display)};
  if (!probe.server.error.empty()) return {unreachable(probe)};
  const CaptureBackend backend = probe.decision.backend;
  if (backend != CaptureBackend::x11) {
    const bool isStopgap = backend == CaptureBackend::pattern && probe.wanted != backend;
    return {{isStopgap ? worthKnowing : fine, probe.decision.reason}};
  }
  Findings findings{{fine, fmt::format("{} {}.", probe.decision.reason, screenOf(probe.server))}};
  for (const Extension missing : probe.server.missing)
    findings.push_back(without(missing));
  return findings;
}

namespace {

constexpr const char* watcher = "org.kde.StatusNotifierWatcher";
constexpr const char* watcherPath = "/StatusNotifierWatcher";

bool hasRegisteredHost(BusInquiry& bus) {
  int isRegistered = 0;
  bus.requestProperty(watcher, watcherPath, watcher, "IsStatusNotifierHostRegistered",
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

TrayProbe TrayProbe::of(const SessionProbe& session) {
  TrayProbe probe{.session = session};
  if (!session.hasDisplay()) return probe;
  BusInquiry bus(BusInquiry::Bus::session);
  probe.hasNotifierHost = hasRegisteredHost(bus);
  probe.bus = bus.state();
  if (!session.isWayland()) probe.hasEmbeddingTray = selectionHasOwner(session.environment.display);
  return probe;
}

Findings judge(const TrayProbe& probe) {
  using enum Finding::State;
  if (!probe.session.hasDisplay()) return {{fine, "Without a desktop none is needed."}};
  if (probe.hasNotifierHost || probe.hasEmbeddingTray)
    return {{fine, "A panel shows Tarvinel's icon; the menu is behind it."}};
  if (probe.bus == BusInquiry::State::isSilent) {
    return {{worthKnowing,
             "The session bus does not answer: the menu opens as a window.",
             {"Log out and in again."}}};
  }
  if (probe.bus == BusInquiry::State::isAbsent) {
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
