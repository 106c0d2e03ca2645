#include "app/capture/x11/Service.h"

#include "app/capture/x11/AppSource.h"
#include "app/capture/x11/DisplaySource.h"
#include "app/capture/x11/WindowSource.h"
#include "app/capture/x11/windows/Displays.h"
#include "app/capture/x11/windows/Scale.h"
#include "app/capture/x11/windows/WindowList.h"

#include <utility>

namespace tarvinel::x11 {

Service::Service(SerialQueue& queue, std::string server, Options options)
    : queue_(queue), server_(std::move(server)), options_(std::move(options)) {}

void Service::shareableContent(Completion<ShareableContent> completion) {
  queue_.assertCurrent();
  auto outcome = resultOf([this] { return listContent(); });
  queue_.post(
      [completion = std::move(completion), outcome = std::move(outcome)] { completion(outcome); });
}

std::shared_ptr<CaptureStream> Service::makeStream(const ContentFilter& filter,
                                                   const StreamConfiguration& configuration,
                                                   StreamHandlers handlers) {
  queue_.assertCurrent();
  return std::make_shared<Stream>(queue_, opener(filter, configuration.showsCursor),
                                  configuration.framesPerSecond, std::move(handlers));
}

Stream::OpenSource Service::opener(const ContentFilter& filter, bool showsCursor) const {
  switch (filter.kind) {
    case ContentFilter::Kind::window:
      return [server = server_, options = options_, window = filter.windowID,
              process = listedProcess(filter.windowID), showsCursor] {
        return std::make_unique<WindowSource>(server, options, window, process, showsCursor);
      };
    case ContentFilter::Kind::application:
      return [server = server_, options = options_, filter, showsCursor] {
        return std::make_unique<AppSource>(server, options, filter.displayID, filter.processID,
                                           showsCursor);
      };
    case ContentFilter::Kind::display:
      break;
  }
  return [server = server_, options = options_, display = filter.displayID, showsCursor] {
    return std::make_unique<DisplaySource>(server, options, display, showsCursor);
  };
}

std::int32_t Service::listedProcess(std::uint32_t windowID) const {
  const auto found = listed_.find(windowID);
  return found != listed_.end() ? found->second : 0;
}

ShareableContent Service::listContent() {
  const Connection connection(server_, options_);
  const int scale = desktopScale(connection);
  ShareableContent content;
  for (const Display& display : listDisplays(connection)) {
    content.displays.push_back(shareableDisplay(display, scale));
  }
  auto [inSight, outOfSight] = listWindows(connection, scale);
  content.windows = std::move(inSight);
  content.windowsOutOfSight = std::move(outOfSight);
  listed_.clear();
  for (const auto* windows : {&content.windows, &content.windowsOutOfSight}) {
    for (const ShareableWindow& window : *windows) {
      if (window.application) listed_.emplace(window.windowID, window.application->processID);
    }
  }
  return content;
}

}  // namespace tarvinel::x11
