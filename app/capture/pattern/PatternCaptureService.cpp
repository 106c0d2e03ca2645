#include "app/capture/pattern/PatternCaptureService.h"

#include "app/capture/pattern/PatternCaptureError.h"
#include "app/capture/pattern/PatternCaptureStream.h"
#include "app/capture/pattern/PatternPicture.h"

#include <cstdint>
#include <utility>

namespace tarvinel {

namespace {

constexpr std::uint32_t onlyDisplay = 1;

}  // namespace

void PatternCaptureService::shareableContent(Completion<ShareableContent> completion) {
  queue_.assertCurrent();
  ShareableContent content;
  content.displays.push_back(
      {onlyDisplay, {0, 0, PatternPicture::width, PatternPicture::height}, true});
  queue_.post(
      [completion = std::move(completion), content = std::move(content)] { completion(content); });
}

std::shared_ptr<CaptureStream> PatternCaptureService::makeStream(
    const ContentFilter& filter, const StreamConfiguration& configuration,
    StreamHandlers handlers) {
  queue_.assertCurrent();
  if (filter.kind != ContentFilter::Kind::display || filter.displayID != onlyDisplay) {
    throw PatternCaptureError();
  }
  return std::make_shared<PatternCaptureStream>(queue_, configuration.framesPerSecond,
                                                std::move(handlers));
}

}  // namespace tarvinel
