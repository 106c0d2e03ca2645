#include "app/doctor/PortalCheck.h"

#include "core/support/UniqueFd.h"

#include <fmt/format.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <systemd/sd-bus.h>

#include <cstdlib>
#include <cstring>
#include <string_view>

namespace tarvinel {

namespace {

using Portal = PortalProbe::Portal;

constexpr const char* desktopPortal = "org.freedesktop.portal.Desktop";
constexpr const char* desktopPortalPath = "/org/freedesktop/portal/desktop";
constexpr const char* screenCastInterface = "org.freedesktop.portal.ScreenCast";

std::optional<std::uint32_t> screenCastNumber(BusInquiry& bus, const char* property) {
  std::optional<std::uint32_t> number;
  bus.requestProperty(desktopPortal, desktopPortalPath, screenCastInterface, property,
                      [&number](sd_bus_message& value) {
                        std::uint32_t read = 0;
                        if (sd_bus_message_read(&value, "v", "u", &read) > 0) number = read;
                      });
  return number;
}

void queryPortal(PortalProbe& probe) {
  BusInquiry bus(BusInquiry::Bus::session);
  if (bus.hasOwner(desktopPortal).value_or(false)) {
    probe.portal = Portal::runs;
    probe.version = screenCastNumber(bus, "version");
    probe.sourceTypes = screenCastNumber(bus, "AvailableSourceTypes");
  } else if (bus.canStart(desktopPortal).value_or(false)) {
    probe.portal = Portal::startsWhenNeeded;
  }
  probe.bus = bus.state();
}

/// Returns an environment variable's value, or an empty text if it is unset.
std::string_view variableText(const char* name) {
  const char* value = std::getenv(name);
  return value != nullptr ? value : "";
}

/// Returns the socket to which PipeWire's library connects.
std::filesystem::path pipeWirePlace() {
  const auto remote = variableText("PIPEWIRE_REMOTE");
  const std::filesystem::path name = remote.empty() ? "pipewire-0" : remote;
  const auto ownFolder = variableText("PIPEWIRE_RUNTIME_DIR");
  return (ownFolder.empty() ? variableText("XDG_RUNTIME_DIR") : ownFolder) / name;
}

bool acceptsConnections(const std::filesystem::path& socket) {
  sockaddr_un address{};
  address.sun_family = AF_UNIX;
  const std::string& path = socket.native();
  if (path.size() >= sizeof address.sun_path) return false;
  std::memcpy(address.sun_path, path.data(), path.size());
  const UniqueFd fd(::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0));
  return ::connect(fd.get(), reinterpret_cast<const sockaddr*>(&address), sizeof address) == 0;
}

std::string offerText(std::uint32_t types) {
  const bool hasMonitors = (types & PortalProbe::monitors) != 0;
  const bool hasWindows = (types & PortalProbe::windows) != 0;
  if (hasMonitors && hasWindows) return "displays and windows";
  if (hasMonitors) return "displays only";
  return hasWindows ? "windows only" : "nothing";
}

const char* const installPortal =
    "Install xdg-desktop-portal and the part for your desktop: xdg-desktop-portal-gnome, -kde or "
    "-wlr.";

Finding portalFinding(const PortalProbe& probe) {
  using enum Finding::State;
  if (probe.bus == BusInquiry::State::isSilent) {
    return {needsAttention,
            "The screen cannot be shared: the session bus, or the desktop's portal, does not "
            "answer.",
            {"Log out and in again."}};
  }
  if (probe.bus == BusInquiry::State::isAbsent) {
    return {needsAttention,
            "The screen cannot be shared: there is no session bus to reach the desktop's portal "
            "by.",
            {"Start Tarvinel from within the desktop, not by su or sudo."}};
  }
  if (probe.portal == Portal::isMissing) {
    return {
        needsAttention, "The screen cannot be shared: the desktop has no portal.", {installPortal}};
  }
  if (probe.portal == Portal::startsWhenNeeded)
    return {fine, "The desktop's portal starts when the screen is shared."};
  if (!probe.version) {
    return {needsAttention,
            "The screen cannot be shared: the desktop's portal has no screen cast.",
            {installPortal}};
  }
  return {
      probe.sourceTypes == 0U ? needsAttention : fine,
      fmt::format("The desktop's portal offers {} (screen cast, version {}).",
                  offerText(probe.sourceTypes.value_or(PortalProbe::monitors)), *probe.version)};
}

Finding pipeWireFinding(const PortalProbe& probe) {
  using enum Finding::State;
  const std::string& socket = probe.pipeWireSocket.native();
  if (probe.pipeWireAnswers) return {fine, fmt::format("PipeWire answers at {}.", socket)};
  return {needsAttention,
          fmt::format("PipeWire, which brings the pictures, does not answer at {}.", socket),
          {"Install pipewire and wireplumber, or start them: systemctl --user start pipewire "
           "wireplumber"}};
}

}  // namespace

PortalProbe PortalProbe::current() {
  PortalProbe probe;
  probe.pipeWireSocket = pipeWirePlace();
  probe.pipeWireAnswers = acceptsConnections(probe.pipeWireSocket);
  queryPortal(probe);
  return probe;
}

Findings judge(const PortalProbe& probe) {
  return {portalFinding(probe), pipeWireFinding(probe)};
}

}  // namespace tarvinel
