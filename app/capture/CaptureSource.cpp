#include "app/capture/CaptureSource.h"

#include "core/support/UnicodeText.h"

#include <spdlog/fmt/fmt.h>

#include <algorithm>
#include <cmath>
#include <map>
#include <string_view>
#include <utility>

namespace tarvinel {

namespace {

// Palettes, tooltips and status items are smaller than this; points.
constexpr double minimumWidth = 200;
constexpr double minimumHeight = 150;

using WindowList = std::vector<const WindowCandidate*>;

bool qualifies(const WindowCandidate& window, const std::optional<std::string>& excludedBundle) {
  if (!window.hasApp || !window.title || window.title->empty()) return false;
  if (excludedBundle && window.bundleID == excludedBundle) return false;
  return window.layer == 0 && window.frame.width >= minimumWidth &&
         window.frame.height >= minimumHeight;
}

WindowList qualifying(const std::vector<WindowCandidate>& windows,
                      const std::optional<std::string>& excludedBundle) {
  WindowList kept;
  for (const WindowCandidate& window : windows) {
    if (qualifies(window, excludedBundle)) kept.push_back(&window);
  }
  return kept;
}

std::string_view orEmpty(const std::optional<std::string>& text) {
  return text ? std::string_view(*text) : std::string_view();
}

std::string appTitle(const WindowCandidate& window) {
  return window.appName.value_or("App");
}

bool windowBefore(const Collation& order, const WindowCandidate& a, const WindowCandidate& b) {
  const int byApp = order.compare(orEmpty(a.appName), orEmpty(b.appName));
  if (byApp != 0) return byApp < 0;
  const int byTitle = order.compare(orEmpty(a.title), orEmpty(b.title));
  if (byTitle != 0) return byTitle < 0;
  return a.windowID < b.windowID;
}

CaptureSource windowSource(const WindowCandidate& window) {
  return {CaptureSource::windowID(window.windowID),
          CaptureSource::Kind::window,
          appTitle(window).append(": ").append(orEmpty(window.title)),
          {window.frame.width, window.frame.height}};
}

// Returns the largest window of each process, the earlier one of equals.
std::map<std::int32_t, const WindowCandidate*> representatives(const WindowList& windows) {
  std::map<std::int32_t, const WindowCandidate*> largest;
  for (const WindowCandidate* window : windows) {
    const WindowCandidate*& known = largest.emplace(window->processID, window).first->second;
    if (window->frame.area() > known->frame.area()) known = window;
  }
  return largest;
}

const DisplayCandidate& defaultDisplay(const std::vector<DisplayCandidate>& displays) {
  const auto main = std::find_if(displays.begin(), displays.end(),
                                 [](const DisplayCandidate& display) { return display.isMain; });
  return main != displays.end() ? *main : displays.front();
}

const DisplayCandidate& displayOf(const WindowCandidate& window,
                                  const std::vector<DisplayCandidate>& displays) {
  const Point middle = window.frame.midpoint();
  const auto holder =
      std::find_if(displays.begin(), displays.end(),
                   [&](const DisplayCandidate& display) { return display.frame.contains(middle); });
  return holder != displays.end() ? *holder : defaultDisplay(displays);
}

AppSource appSource(const WindowCandidate& window, const DisplayCandidate& display) {
  return {{CaptureSource::appID(window.processID),
           CaptureSource::Kind::app,
           appTitle(window) + " (app)",
           {display.frame.width, display.frame.height}},
          window.processID,
          display.displayID};
}

bool appBefore(const Collation& order, const AppSource& a, const AppSource& b) {
  const int byTitle = order.compare(a.source.title, b.source.title);
  return byTitle != 0 ? byTitle < 0 : a.processID < b.processID;
}

int menuRank(CaptureSource::Kind kind) {
  switch (kind) {
    case CaptureSource::Kind::display:
      return 0;
    case CaptureSource::Kind::app:
      return 1;
    case CaptureSource::Kind::window:
      break;
  }
  return 2;
}

}  // namespace

std::string CaptureSource::displayID(std::uint32_t number) {
  return "display-" + std::to_string(number);
}

std::string CaptureSource::windowID(std::uint32_t number) {
  return "window-" + std::to_string(number);
}

std::string CaptureSource::appID(std::int32_t processID) {
  return "app-" + std::to_string(processID);
}

CaptureSource CaptureSource::displaySource(const DisplayCandidate& display, std::size_t position) {
  const Size size{display.frame.width, display.frame.height};
  return {displayID(display.displayID), Kind::display,
          fmt::format("Display {}{} {:.0f}×{:.0f}", position, display.isMain ? " (main)" : "",
                      std::trunc(size.width), std::trunc(size.height)),
          size};
}

std::vector<CaptureSource> CaptureSource::windowSources(
    const std::vector<WindowCandidate>& windows,
    const std::optional<std::string>& excludingBundleID) {
  const Collation order = Collation::ofUser();
  WindowList kept = qualifying(windows, excludingBundleID);
  std::stable_sort(kept.begin(), kept.end(),
                   [&](const auto* a, const auto* b) { return windowBefore(order, *a, *b); });
  std::vector<CaptureSource> sources;
  for (const WindowCandidate* window : kept)
    sources.push_back(windowSource(*window));
  return sources;
}

std::vector<AppSource> CaptureSource::appSources(
    const std::vector<WindowCandidate>& windows, const std::vector<DisplayCandidate>& displays,
    const std::optional<std::string>& excludingBundleID) {
  if (displays.empty()) return {};
  std::vector<AppSource> sources;
  for (const auto& [processID, window] : representatives(qualifying(windows, excludingBundleID))) {
    sources.push_back(appSource(*window, displayOf(*window, displays)));
  }
  const Collation order = Collation::ofUser();
  std::stable_sort(sources.begin(), sources.end(),
                   [&](const auto& a, const auto& b) { return appBefore(order, a, b); });
  return sources;
}

std::vector<CaptureSource> CaptureSource::menuOrder(std::vector<CaptureSource> sources) {
  std::stable_sort(sources.begin(), sources.end(), [](const auto& a, const auto& b) {
    return menuRank(a.kind) < menuRank(b.kind);
  });
  return sources;
}

}  // namespace tarvinel
