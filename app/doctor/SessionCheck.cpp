#include "app/doctor/SessionCheck.h"

#include <fmt/format.h>

#include <cstdlib>

namespace tarvinel {

namespace {

std::string inDesktop(const std::string& desktop) {
  return desktop.empty() ? "" : fmt::format(" ({})", desktop);
}

}  // namespace

SessionFacts SessionFacts::current() {
  const char* desktop = std::getenv("XDG_CURRENT_DESKTOP");
  return {CaptureEnvironment::current(), desktop != nullptr ? desktop : ""};
}

bool SessionFacts::isWayland() const {
  return !environment.waylandDisplay.empty() || environment.sessionType == "wayland";
}

bool SessionFacts::hasDisplay() const {
  return !environment.waylandDisplay.empty() || !environment.display.empty();
}

Findings judge(const SessionFacts& facts) {
  using enum Finding::State;
  const std::string desktop = inDesktop(facts.desktop);
  if (facts.isWayland()) return {{fine, fmt::format("A Wayland session{}.", desktop)}};
  if (facts.hasDisplay()) {
    return {
        {fine, fmt::format("An X11 session{}, display {}.", desktop, facts.environment.display)}};
  }
  return {{worthKnowing,
           "No desktop: neither DISPLAY nor WAYLAND_DISPLAY is set.",
           {"Start with --headless. It shows a built-in picture, as there is no screen to share.",
            "To share a screen, start in a terminal on it, or set DISPLAY to it."}}};
}

}  // namespace tarvinel
