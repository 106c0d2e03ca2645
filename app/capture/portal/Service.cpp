#include "app/capture/portal/Service.h"

#include "app/capture/CaptureError.h"
#include "app/capture/portal/Capabilities.h"
#include "app/capture/portal/Session.h"

#include <algorithm>
#include <cmath>
#include <utility>

namespace tarvinel::portal {

Service::Service(SerialQueue& queue, Logger logger, std::shared_ptr<RestoreTokens> tokens)
    : queue_(queue), logger_(std::move(logger)), tokens_(std::move(tokens)) {}

void Service::shareableContent(Completion<ShareableContent> completion) {
  queue_.assertCurrent();
  const std::uint64_t number = ++asked_;
  auto bus = queryCapabilities(queue_, [this, number, completion = std::move(completion)](
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

/// Wraps a step that others may call at any time: it runs only while the share is on.
template <class Step>
auto Stream::whileRunning(Step step) {
  return [weak = weak_from_this(), step](const auto&... arguments) {
    const auto self = weak.lock();
    if (self && self->running_) step(*self, arguments...);
  };
}

Stream::Stream(SerialQueue& queue, Logger logger, const Wish& wish,
               const StreamConfiguration& configuration, std::shared_ptr<RestoreTokens> tokens,
               StreamHandlers handlers)
    : queue_(queue),
      logger_(std::move(logger)),
      wish_(wish),
      configuration_(configuration),
      tokens_(std::move(tokens)),
      handlers_(std::move(handlers)) {}

void Stream::start(Completion<void> completion) {
  queue_.assertCurrent();
  running_ = true;
  onStarted_ = std::move(completion);
  queue_.post([weak = weak_from_this()] {
    const auto self = weak.lock();
    if (self && self->running_) self->open();
  });
}

void Stream::stop(Completion<void> completion) {
  queue_.assertCurrent();
  close();
  queue_.post([completion = std::move(completion)] { completion({}); });
}

void Stream::open() {
  Session::Wish wish{wish_.type, configuration_.showsCursor, std::nullopt};
  if (wish_.entry == Entry::usual) {
    wish.restoreToken = tokens_->token(RestoreTokens::key(wish_.type));
    gaveToken_ = wish.restoreToken.has_value();
  }
  const auto opened = resultOf([&] {
    session_ = std::make_unique<Session>(
        queue_, std::move(wish),
        Session::Handlers{
            [weak = weak_from_this()](const StreamInfo& grant, UniqueFd mediaServer) {
              const auto self = weak.lock();
              if (self && self->running_) self->granted(grant, std::move(mediaServer));
            },
            whileRunning([](Stream& self, const std::exception_ptr& why) { self.end(why); })});
  });
  if (!opened.ok()) end(opened.error());
}

void Stream::granted(const StreamInfo& grant, UniqueFd mediaServer) {
  tokens_->remember(RestoreTokens::key(wish_.type), grant.restoreToken);
  density_ = PictureDensity(grant.points);
  stream_ = std::make_shared<PipeWireStream>(
      queue_, logger_, PipeWireStream::Wish{configuration_.framesPerSecond, grant.cursorIsApart},
      PipeWireStream::Handlers{
          whileRunning([](Stream& self) { self.ready(); }),
          {whileRunning([](Stream& self, const RawPicture& picture, const auto& changed) {
             self.take(self.picture_.update(picture, changed));
           }),
           whileRunning([](Stream& self, const std::optional<CursorImage>& cursor) {
             self.take(self.picture_.showCursor(cursor));
           })},
          whileRunning([](Stream& self) { self.deliver(); }),
          whileRunning([](Stream& self, const std::exception_ptr& why) { self.end(why); })});
  stream_->connect(std::move(mediaServer), grant.node);
}

void Stream::ready() {
  if (const auto onStarted = std::exchange(onStarted_, nullptr)) onStarted({});
}

void Stream::take(std::optional<CapturedFrame> frame) {
  if (!frame) return;
  frame->sourceSize = density_.points(frame->buffer->width(), frame->buffer->height());
  if (undelivered_ && undelivered_->buffer == frame->buffer) {
    frame->dirtyRects->insert(frame->dirtyRects->end(), undelivered_->dirtyRects->begin(),
                              undelivered_->dirtyRects->end());
  }
  undelivered_ = std::move(frame);
}

void Stream::deliver() {
  if (const auto frame = std::exchange(undelivered_, std::nullopt)) handlers_.onFrame(*frame);
}

/// A token counts as used once the desktop has asked the presenter nevertheless.
void Stream::end(std::exception_ptr why) {
  const auto self = shared_from_this();  // the owner may release it
  if (gaveToken_ && isRefusal(why)) tokens_->remember(RestoreTokens::key(wish_.type), {});
  close();
  if (const auto onStarted = std::exchange(onStarted_, nullptr)) return onStarted(std::move(why));
  if (handlers_.onStop) handlers_.onStop(std::move(why));
}

/// The session may be the caller, so the next task destroys it.
void Stream::close() {
  running_ = false;
  undelivered_.reset();
  stream_.reset();
  if (session_) queue_.post([session = std::shared_ptr(std::move(session_))] {});
}

/// Areas are compared, since the picture may be upright where the reported size is wide. A picture
/// with fewer pixels than points shows a window that is only a part of the reported size.
std::optional<Size> PictureDensity::points(std::size_t width, std::size_t height) {
  if (!reported_) return std::nullopt;
  const auto wide = static_cast<double>(width);
  const auto high = static_cast<double>(height);
  if (!pixelsPerPoint_) {
    pixelsPerPoint_ =
        std::max(1.0, std::sqrt(wide * high / (reported_->width * reported_->height)));
  }
  return Size{wide / *pixelsPerPoint_, high / *pixelsPerPoint_};
}

}  // namespace tarvinel::portal
