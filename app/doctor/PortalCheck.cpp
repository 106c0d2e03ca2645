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

using Portal = PortalFacts::Portal;

constexpr const char* desktopPortal = "org.freedesktop.portal.Desktop";
constexpr const char* desktopPortalPath = "/org/freedesktop/portal/desktop";
constexpr const char* screenCastInterface = "org.freedesktop.portal.ScreenCast";

std::optional<std::uint32_t> screenCastNumber(BusInquiry& bus, const char* property) {
  std::optional<std::uint32_t> number;
  bus.askProperty(desktopPortal, desktopPortalPath, screenCastInterface, property,
                  [&number](sd_bus_message& value) {
                    std::uint32_t read = 0;
                    if (sd_bus_message_read(&value, "v", "u", &read) > 0) number = read;
                  });
  return number;
}

void askPortal(PortalFacts& facts) {
  BusInquiry bus(BusInquiry::Bus::session);
  if (bus.hasOwner(desktopPortal).value_or(false)) {
    facts.portal = Portal::runs;
    facts.version = screenCastNumber(bus, "version");
    facts.sourceTypes = screenCastNumber(bus, "AvailableSourceTypes");
  } else if (bus.canStart(desktopPortal).value_or(false)) {
    facts.portal = Portal::startsWhenNeeded;
  }
  facts.bus = bus.state();
}

/// Null counts as empty.
std::string_view variableText(const char* name) {
  const char* value = std::getenv(name);
  return value != nullptr ? value : "";
}

/// Where PipeWire's library looks for it.
std::filesystem::path pipeWirePlace() {
  const auto remote = variableText("PIPEWIRE_REMOTE");
  const std::filesystem::path name = remote.empty() ? "pipewire-0" : remote;
  const auto ownFolder = variableText("PIPEWIRE_RUNTIME_DIR");
  return (ownFolder.empty() ? variableText("XDG_RUNTIME_DIR") : ownFolder) / name;
}

bool takesConnections(const std::filesystem::path& socket) {
  sockaddr_un address{};
  address.sun_family = AF_UNIX;
  const std::string& path = socket.native();
  if (path.size() >= sizeof address.sun_path) return false;
  std::memcpy(address.sun_path, path.data(), path.size());
  const UniqueFd fd(::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0));
  return ::connect(fd.get(), reinterpret_cast<const sockaddr*>(&address), sizeof address) == 0;
}

std::string offerText(std::uint32_t types) {
  const bool hasMonitors = (types & PortalFacts::monitors) != 0;
  const bool hasWindows = (types & PortalFacts::windows) != 0;
  if (hasMonitors && hasWindows) return "displays and windows";
  if (hasMonitors) return "displays only";
  return hasWindows ? "windows only" : "nothing";
}

const char* const installPortal =
    "Install xdg-desktop-portal and the part for your desktop: xdg-desktop-portal-gnome, -kde or "
    "-wlr.";

Finding portalFinding(const PortalFacts& facts) {
  using enum Finding::State;
  if (facts.bus == BusInquiry::State::isSilent) {
    return {toBeMended,
            "The screen cannot be shared: the session bus, or the desktop's portal, does not "
            "answer.",
            {"Log out and in again."}};
  }
  if (facts.bus == BusInquiry::State::isAbsent) {
    return {toBeMended,
            "The screen cannot be shared: there is no session bus to reach the desktop's portal "
            "by.",
            {"Start Tarvinel from within the desktop, not by su or sudo."}};
  }
  if (facts.portal == Portal::isMissing)
    return {toBeMended, "The screen cannot be shared: the desktop has no portal.", {installPortal}};
  if (facts.portal == Portal::startsWhenNeeded)
    return {fine, "The desktop's portal starts when the screen is shared."};
  if (!facts.version) {
    return {toBeMended,
            "The screen cannot be shared: the desktop's portal has no screen cast.",
            {installPortal}};
  }
  return {
      facts.sourceTypes == 0U ? toBeMended : fine,
      fmt::format("The desktop's portal offers {} (screen cast, version {}).",
                  offerText(facts.sourceTypes.value_or(PortalFacts::monitors)), *facts.version)};
}

Finding pipeWireFinding(const PortalFacts& facts) {
  using enum Finding::State;
  const std::string& socket = facts.pipeWireSocket.native();
  if (facts.pipeWireAnswers) return {fine, fmt::format("PipeWire answers at {}.", socket)};
  return {toBeMended,
          fmt::format("PipeWire, which brings the pictures, does not answer at {}.", socket),
          {"Install pipewire and wireplumber, or start them: systemctl --user start pipewire "
           "wireplumber"}};
}

}  // namespace

PortalFacts PortalFacts::current() {
  PortalFacts facts;
  facts.pipeWireSocket = pipeWirePlace();
  facts.pipeWireAnswers = takesConnections(facts.pipeWireSocket);
  askPortal(facts);
  return facts;
}

Findings judge(const PortalFacts& facts) {
  return {portalFinding(facts), pipeWireFinding(facts)};
}

}  // namespace tarvinel
