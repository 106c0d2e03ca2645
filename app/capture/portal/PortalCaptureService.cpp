#include "app/capture/portal/PortalCaptureService.h"

#include "app/capture/portal/PortalCaptureStream.h"
#include "app/capture/portal/PortalOffer.h"
#include "app/capture/portal/PortalSession.h"

#include <utility>

namespace tarvinel {

PortalCaptureService::PortalCaptureService(SerialQueue& queue, Logger logger,
                                           std::shared_ptr<RestoreTokens> tokens)
    : queue_(queue), logger_(std::move(logger)), tokens_(std::move(tokens)) {}

void PortalCaptureService::shareableContent(Completion<ShareableContent> completion) {
  queue_.assertCurrent();
  const std::uint64_t number = ++asked_;
  auto bus = askPortalOffer(
      queue_, [this, number, completion = std::move(completion)](const Result<PortalOffer>& offer) {
        queue_.post([bus = std::shared_ptr(std::move(questions_[number]))] {});
        questions_.erase(number);
        completion(resultOf([&] {
          return offer.value().entries(
              [this](PortalSourceType type) { return tokens_->memory(RestoreTokens::key(type)); });
        }));
      });
  questions_.emplace(number, std::move(bus));
}

std::shared_ptr<CaptureStream> PortalCaptureService::makeStream(
    const ContentFilter& filter, const StreamConfiguration& configuration,
    StreamHandlers handlers) {
  queue_.assertCurrent();
  const bool isWindow = filter.kind == ContentFilter::Kind::window;
  const PortalCaptureStream::Wish wish{
      isWindow ? PortalSourceType::window : PortalSourceType::display,
      static_cast<PortalEntry>(isWindow ? filter.windowID : filter.displayID)};
  return std::make_shared<PortalCaptureStream>(queue_, logger_, wish, configuration, tokens_,
                                               std::move(handlers));
}

}  // namespace tarvinel
