#include "app/doctor/SessionCheck.h"

#include <fmt/format.h>

#include <cstdlib>

namespace tarvinel {

namespace {

std::string inDesktop(const std::string& desktop) {
  return desktop.empty() ? "" : fmt::format(" ({})", desktop);
}

}  // namespace

SessionProbe SessionProbe::current() {
  const char* desktop = std::getenv("XDG_CURRENT_DESKTOP");
  return {CaptureEnvironment::current(), desktop != nullptr ? desktop : ""};
}

bool SessionProbe::isWayland() const {
  return !environment.waylandDisplay.empty() || environment.sessionType == "wayland";
}

bool SessionProbe::hasDisplay() const {
  return !environment.waylandDisplay.empty() || !environment.display.empty();
}

Findings judge(const SessionProbe& probe) {
  using enum Finding::State;
  const std::string desktop = inDesktop(probe.desktop);
  if (probe.isWayland()) return {{fine, fmt::format("A Wayland session{}.", desktop)}};
  if (probe.hasDisplay()) {
    return {
        {fine, fmt::format("An X11 session{}, display {}.", desktop, probe.environment.display)}};
  }
  return {{worthKnowing,
           "No desktop: neither DISPLAY nor WAYLAND_DISPLAY is set.",
           {"Start with --headless. It shows a built-in picture, as there is no screen to share.",
            "To share a screen, start in a terminal on it, or set DISPLAY to it."}}};
}

}  // namespace tarvinel
