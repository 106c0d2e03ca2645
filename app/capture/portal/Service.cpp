#include "app/capture/portal/Service.h"

#include "app/capture/portal/Capabilities.h"
#include "app/capture/portal/Session.h"
#include "app/capture/portal/Stream.h"

#include <utility>

namespace tarvinel::portal {

Service::Service(SerialQueue& queue, Logger logger, std::shared_ptr<RestoreTokens> tokens)
    : queue_(queue), logger_(std::move(logger)), tokens_(std::move(tokens)) {}

void Service::shareableContent(Completion<ShareableContent> completion) {
  queue_.assertCurrent();
  const std::uint64_t number = ++asked_;
  auto bus = askCapabilities(queue_, [this, number, completion = std::move(completion)](
                                        const Result<Capabilities>& offer) {
    queue_.post([bus = std::shared_ptr(std::move(questions_[number]))] {});
    questions_.erase(number);
    completion(resultOf([&] {
      return offer.value().entries(
          [this](SourceType type) { return tokens_->memory(RestoreTokens::key(type)); });
    }));
  });
  questions_.emplace(number, std::move(bus));
}

std::shared_ptr<CaptureStream> Service::makeStream(const ContentFilter& filter,
                                                   const StreamConfiguration& configuration,
                                                   StreamHandlers handlers) {
  queue_.assertCurrent();
  const bool isWindow = filter.kind == ContentFilter::Kind::window;
  const Stream::Wish wish{isWindow ? SourceType::window : SourceType::display,
                          static_cast<Entry>(isWindow ? filter.windowID : filter.displayID)};
  return std::make_shared<Stream>(queue_, logger_, wish, configuration, tokens_,
                                  std::move(handlers));
}

}  // namespace tarvinel::portal
