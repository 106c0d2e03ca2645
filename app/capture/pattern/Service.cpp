#include "app/capture/pattern/Service.h"

#include "app/capture/pattern/Error.h"
#include "app/capture/pattern/Picture.h"
#include "app/capture/pattern/Stream.h"

#include <cstdint>
#include <utility>

namespace tarvinel::pattern {

namespace {

constexpr std::uint32_t onlyDisplay = 1;

}  // namespace

void Service::shareableContent(Completion<ShareableContent> completion) {
  queue_.assertCurrent();
  ShareableContent content;
  content.displays.push_back({onlyDisplay, {0, 0, Picture::width, Picture::height}, true});
  queue_.post(
      [completion = std::move(completion), content = std::move(content)] { completion(content); });
}

std::shared_ptr<CaptureStream> Service::makeStream(const ContentFilter& filter,
                                                   const StreamConfiguration& configuration,
                                                   StreamHandlers handlers) {
  queue_.assertCurrent();
  if (filter.kind != ContentFilter::Kind::display || filter.displayID != onlyDisplay) {
    throw Error();
  }
  return std::make_shared<Stream>(queue_, configuration.framesPerSecond, std::move(handlers));
}

}  // namespace tarvinel::pattern
