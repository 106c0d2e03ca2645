#include "app/capture/x11/X11CaptureService.h"

#include "app/capture/x11/X11AppSource.h"
#include "app/capture/x11/X11DisplaySource.h"
#include "app/capture/x11/X11Displays.h"
#include "app/capture/x11/X11Scale.h"
#include "app/capture/x11/X11WindowSource.h"
#include "app/capture/x11/X11Windows.h"

#include <utility>

namespace tarvinel {

X11CaptureService::X11CaptureService(SerialQueue& queue, std::string server, X11Options options)
    : queue_(queue), server_(std::move(server)), options_(std::move(options)) {}

void X11CaptureService::shareableContent(Completion<ShareableContent> completion) {
  queue_.assertCurrent();
  auto outcome = resultOf([this] { return listContent(); });
  queue_.post(
      [completion = std::move(completion), outcome = std::move(outcome)] { completion(outcome); });
}

std::shared_ptr<CaptureStream> X11CaptureService::makeStream(
    const ContentFilter& filter, const StreamConfiguration& configuration,
    StreamHandlers handlers) {
  queue_.assertCurrent();
  return std::make_shared<X11CaptureStream>(queue_, opener(filter, configuration.showsCursor),
                                            configuration.framesPerSecond, std::move(handlers));
}

X11CaptureStream::OpenSource X11CaptureService::opener(const ContentFilter& filter,
                                                       bool showsCursor) const {
  switch (filter.kind) {
    case ContentFilter::Kind::window:
      return [server = server_, options = options_, window = filter.windowID,
              process = listedProcess(filter.windowID), showsCursor] {
        return std::make_unique<X11WindowSource>(server, options, window, process, showsCursor);
      };
    case ContentFilter::Kind::application:
      return [server = server_, options = options_, filter, showsCursor] {
        return std::make_unique<X11AppSource>(server, options, filter.displayID, filter.processID,
                                              showsCursor);
      };
    case ContentFilter::Kind::display:
      break;
  }
  return [server = server_, options = options_, display = filter.displayID, showsCursor] {
    return std::make_unique<X11DisplaySource>(server, options, display, showsCursor);
  };
}

std::int32_t X11CaptureService::listedProcess(std::uint32_t windowID) const {
  const auto found = listed_.find(windowID);
  return found != listed_.end() ? found->second : 0;
}

ShareableContent X11CaptureService::listContent() {
  const X11Connection connection(server_, options_);
  const int scale = desktopScale(connection);
  ShareableContent content;
  for (const X11Display& display : listDisplays(connection)) {
    content.displays.push_back(shareableDisplay(display, scale));
  }
  auto [inSight, outOfSight] = listWindows(connection, scale);
  content.windows = std::move(inSight);
  content.windowsOutOfSight = std::move(outOfSight);
  content.applications = applicationsOf(content.windows);
  listed_.clear();
  for (const auto* windows : {&content.windows, &content.windowsOutOfSight}) {
    for (const ShareableWindow& window : *windows) {
      if (window.application) listed_.emplace(window.windowID, window.application->processID);
    }
  }
  return content;
}

}  // namespace tarvinel
