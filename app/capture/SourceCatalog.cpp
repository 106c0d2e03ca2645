#include "app/capture/SourceCatalog.h"

#include <algorithm>
#include <utility>

namespace tarvinel {

namespace {

std::vector<DisplayCandidate> candidatesOf(const std::vector<ShareableDisplay>& displays) {
  std::vector<DisplayCandidate> candidates;
  candidates.reserve(displays.size());
  for (const ShareableDisplay& display : displays) {
    candidates.push_back({display.displayID, display.frame, display.isMain});
  }
  return candidates;
}

WindowCandidate candidateOf(const ShareableWindow& window) {
  WindowCandidate candidate;
  candidate.windowID = window.windowID;
  candidate.title = window.title;
  candidate.layer = window.layer;
  candidate.frame = window.frame;
  if (!window.application) return candidate;
  candidate.hasApp = true;
  candidate.appName = window.application->name;
  candidate.bundleID = window.application->bundleID;
  candidate.processID = window.application->processID;
  return candidate;
}

ContentFilter displayFilter(std::uint32_t displayID) {
  ContentFilter filter;
  filter.kind = ContentFilter::Kind::display;
  filter.displayID = displayID;
  return filter;
}

ContentFilter windowFilter(std::uint32_t windowID) {
  ContentFilter filter;
  filter.kind = ContentFilter::Kind::window;
  filter.windowID = windowID;
  return filter;
}

ContentFilter appFilter(const AppSource& app) {
  ContentFilter filter;
  filter.kind = ContentFilter::Kind::application;
  filter.displayID = app.displayID;
  filter.processID = app.processID;
  return filter;
}

CaptureSource choiceSource(const ShareableChoice& choice) {
  if (choice.kind == ShareableChoice::Kind::window) {
    return {CaptureSource::windowID(choice.number), CaptureSource::Kind::window, choice.title,
            choice.size};
  }
  return {CaptureSource::displayID(choice.number), CaptureSource::Kind::display, choice.title,
          choice.size};
}

ContentFilter choiceFilter(const ShareableChoice& choice) {
  if (choice.kind == ShareableChoice::Kind::window) return windowFilter(choice.number);
  return displayFilter(choice.number);
}

bool isWindow(const ShareableWindow& window, const ContentFilter& filter) {
  if (filter.kind == ContentFilter::Kind::window) return window.windowID == filter.windowID;
  return window.application && window.application->processID == filter.processID;
}

/// Returns whether the filter's source still exists, visible or not.
bool exists(const ContentFilter& filter, const ShareableContent& content) {
  if (filter.kind == ContentFilter::Kind::display) {
    return std::ranges::any_of(content.displays, [&](const ShareableDisplay& display) {
      return display.displayID == filter.displayID;
    });
  }
  const auto isOne = [&](const ShareableWindow& window) { return isWindow(window, filter); };
  return std::ranges::any_of(content.windows, isOne) ||
         std::ranges::any_of(content.windowsOutOfSight, isOne);
}

}  // namespace

SourceCatalog::SourceCatalog(const ShareableContent& content,
                             const std::optional<std::string>& excludingBundleID,
                             const std::vector<Entry>& shared) {
  const std::vector<DisplayCandidate> displays = candidatesOf(content.displays);
  std::vector<WindowCandidate> windows;
  for (const ShareableWindow& window : content.windows)
    windows.push_back(candidateOf(window));

  for (const DisplayCandidate& display : displays) {
    add(CaptureSource::displaySource(display, sources_.size() + 1),
        displayFilter(display.displayID));
  }
  for (const WindowCandidate& window : windows) {
    filters_.insert_or_assign(CaptureSource::windowID(window.windowID),
                              windowFilter(window.windowID));
  }
  for (CaptureSource& source : CaptureSource::windowSources(windows, excludingBundleID)) {
    sources_.push_back(std::move(source));
  }
  for (const AppSource& app : CaptureSource::appSources(windows, displays, excludingBundleID)) {
    add(app.source, appFilter(app));
  }
  for (const ShareableChoice& choice : content.choices) {
    add(choiceSource(choice), choiceFilter(choice));
  }
  for (const Entry& entry : shared) {
    if (!lists(entry.source) && exists(entry.filter, content)) add(entry.source, entry.filter);
  }
  sources_ = CaptureSource::menuOrder(std::move(sources_));
}

bool SourceCatalog::lists(const CaptureSource& source) const {
  return std::ranges::any_of(sources_,
                             [&](const CaptureSource& each) { return each.id == source.id; });
}

void SourceCatalog::add(CaptureSource source, const ContentFilter& filter) {
  filters_.insert_or_assign(source.id, filter);
  sources_.push_back(std::move(source));
}

std::size_t SourceCatalog::count(CaptureSource::Kind kind) const {
  return static_cast<std::size_t>(
      std::count_if(sources_.begin(), sources_.end(),
                    [&](const CaptureSource& source) { return source.kind == kind; }));
}

std::optional<ContentFilter> SourceCatalog::filter(const std::string& id) const {
  const auto found = filters_.find(id);
  if (found == filters_.end()) return std::nullopt;
  return found->second;
}

}  // namespace tarvinel
