#include "app/capture/x11/Service.h"

#include "app/capture/x11/AppSource.h"
#include "app/capture/x11/DisplaySource.h"
#include "app/capture/x11/WindowSource.h"
#include "app/capture/x11/windows/Displays.h"
#include "app/capture/x11/windows/WindowList.h"
#include "app/x11/Connection.h"

#include <fcntl.h>

#include <algorithm>
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

namespace {

int duplicateSocket(const Connection& connection) {
  const int duplicate = fcntl(xcb_get_file_descriptor(connection.get()), F_DUPFD_CLOEXEC, 0);
  if (duplicate < 0) throw std::system_error(errno, std::generic_category(), "screen capture");
  return duplicate;
}

}  // namespace

Stream::Stream(SerialQueue& queue, OpenSource openSource, std::int32_t framesPerSecond,
               StreamHandlers handlers)
    : queue_(queue),
      openSource_(std::move(openSource)),
      handlers_(std::move(handlers)),
      pacing_(framesPerSecond),
      timer_(queue.context()) {}

void Stream::start(Completion<void> completion) {
  queue_.assertCurrent();
  auto outcome = resultOf([this] { open(); });
  if (!outcome.ok()) close();
  queue_.post(
      [completion = std::move(completion), outcome = std::move(outcome)] { completion(outcome); });
  queue_.post([weak = weak_from_this()] {
    if (const auto self = weak.lock()) self->advance();
  });
}

void Stream::stop(Completion<void> completion) {
  queue_.assertCurrent();
  close();
  queue_.post([completion = std::move(completion)] { completion({}); });
}

void Stream::open() {
  source_ = openSource_();
  socket_.emplace(queue_.context(), duplicateSocket(source_->connection()));
}

void Stream::close() {
  timer_.cancel();
  socket_.reset();
  source_.reset();
}

/// Does all that can be done now, then waits for an event or for the time of the next look.
void Stream::advance() {
  try {
    while (isOpen() && mayLookNow())
      look();
    if (isOpen()) awaitEvents();
  } catch (...) {
    fail(std::current_exception());
  }
}

/// Leaves xcb's buffers empty, so that the socket becomes readable when there is more.
bool Stream::mayLookNow() {
  takeEvents();
  if (!source_->wantsCapture()) return false;
  if (CapturePacing::Time::clock::now() >= pacing_.notBefore()) return true;
  awaitTime();
  return false;
}

void Stream::takeEvents() {
  while (const auto event = source_->connection().pollEvent())
    source_->handle(*event);
}

void Stream::look() {
  const auto now = CapturePacing::Time::clock::now();
  const auto frame = source_->capture();
  pacing_.looked(now, frame.has_value());
  if (frame) handlers_.onFrame(*frame);
}

void Stream::awaitEvents() {
  source_->connection().flush();
  if (std::exchange(awaitingEvents_, true)) return;
  socket_->async_wait(asio::posix::descriptor_base::wait_read,
                      [weak = weak_from_this()](const std::error_code& ec) {
                        const auto self = weak.lock();
                        if (ec || !self) return;
                        self->awaitingEvents_ = false;
                        self->advance();
                      });
}

void Stream::awaitTime() {
  if (std::exchange(awaitingTime_, true)) return;
  timer_.expires_at(pacing_.notBefore());
  timer_.async_wait([weak = weak_from_this()](const std::error_code& ec) {
    const auto self = weak.lock();
    if (ec || !self) return;
    self->awaitingTime_ = false;
    self->advance();
  });
}

void Stream::fail(std::exception_ptr error) {
  close();
  if (const auto onStop = std::exchange(handlers_.onStop, nullptr)) onStop(std::move(error));
}

CapturePacing::CapturePacing(std::int32_t framesPerSecond)
    : interval_(std::chrono::nanoseconds(std::chrono::seconds(1)) / std::max(framesPerSecond, 1)) {}

void CapturePacing::looked(Time now, bool delivered) {
  notBefore_ = now + (delivered ? interval_ : interval_ / 8);
}

}  // namespace tarvinel::x11
