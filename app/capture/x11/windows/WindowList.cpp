#include "app/capture/x11/windows/WindowList.h"

#include "app/capture/x11/windows/ClientWindows.h"
#include "app/x11/Atoms.h"
#include "core/support/ApplicationIdentifier.h"

#include <unistd.h>

#include <string>

namespace tarvinel::x11 {

namespace {

constexpr std::int64_t aboveApplications = 1;

ShareableApplication applicationOf(const WindowMetadata& facts, std::int32_t ownProcess) {
  ShareableApplication application{facts.processID, facts.className, facts.className};
  // the class tells of another run of this program
  const bool isOwn = facts.processID == ownProcess || facts.className == windowClass;
  if (isOwn) application.bundleID = std::string(applicationIdentifier);
  return application;
}

}  // namespace

ShareableWindow shareableWindow(const WindowMetadata& facts, int scale, std::int32_t ownProcess) {
  const Rect pixels = facts.area.rect();
  ShareableWindow window;
  window.windowID = facts.window;
  window.title = facts.title;
  window.layer = facts.role == WindowMetadata::Role::ordinary ? 0 : aboveApplications;
  window.frame = {pixels.x / scale, pixels.y / scale, pixels.width / scale, pixels.height / scale};
  if (facts.processID != 0) window.application = applicationOf(facts, ownProcess);
  return window;
}

WindowList listWindows(const Connection& connection, int scale) {
  const Atoms atoms(connection);
  WindowList windows;
  for (const WindowMetadata& facts :
       readWindowFacts(connection, atoms, listClientWindows(connection, atoms))) {
    if (facts.role == WindowMetadata::Role::desktop) continue;
    auto& those = facts.isOnScreen && facts.canBeCaptured ? windows.inSight : windows.outOfSight;
    those.push_back(shareableWindow(facts, scale, getpid()));
  }
  return windows;
}

}  // namespace tarvinel::x11
