#include "app/capture/x11/X11CaptureService.h"

#include "app/capture/x11/X11CaptureStream.h"
#include "app/capture/x11/X11DisplaySource.h"
#include "app/capture/x11/X11Displays.h"
#include "app/capture/x11/X11Error.h"
#include "app/capture/x11/X11Scale.h"

#include <utility>

namespace tarvinel {

X11CaptureService::X11CaptureService(SerialQueue& queue, std::string server,
                                     const X11Options& options)
    : queue_(queue), server_(std::move(server)), options_(options) {}

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
  if (filter.kind != ContentFilter::Kind::display) {
    throw X11Error(X11Error::Case::unsupportedSource,
                   "windows and applications cannot be captured from the X server");
  }
  auto open = [server = server_, options = options_, displayID = filter.displayID,
               showsCursor = configuration.showsCursor] {
    return std::make_unique<X11DisplaySource>(server, options, displayID, showsCursor);
  };
  return std::make_shared<X11CaptureStream>(queue_, std::move(open), configuration.framesPerSecond,
                                            std::move(handlers));
}

ShareableContent X11CaptureService::listContent() const {
  const X11Connection connection(server_, options_);
  const int scale = desktopScale(connection);
  ShareableContent content;
  for (const X11Display& display : listDisplays(connection)) {
    content.displays.push_back(shareableDisplay(display, scale));
  }
  return content;
}

}  // namespace tarvinel
