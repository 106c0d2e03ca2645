#include "app/capture/x11/Stream.h"

#include "app/x11/Connection.h"

#include <fcntl.h>

#include <utility>

namespace tarvinel::x11 {

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

}  // namespace tarvinel::x11
