#include "app/x11/Connection.h"

#include "app/x11/Error.h"

#include <xcb/xcbext.h>

#include <poll.h>
#include <pthread.h>
#include <sys/socket.h>

#include <csignal>

namespace tarvinel::x11 {

namespace {

void blockBrokenPipeSignal() {
  sigset_t signals;
  sigemptyset(&signals);
  sigaddset(&signals, SIGPIPE);
  pthread_sigmask(SIG_BLOCK, &signals, nullptr);
}

const xcb_screen_t* screenNumbered(xcb_connection_t* connection, int number) {
  auto screens = xcb_setup_roots_iterator(xcb_get_setup(connection));
  for (; screens.rem > 0 && number > 0; --number)
    xcb_screen_next(&screens);
  return screens.rem > 0 ? screens.data : nullptr;
}

Link linkTo(const std::string& display, const Options& options) {
  if (display.empty()) {
    throw Error(Error::Case::noDisplayName, "there is no X server: DISPLAY is not set");
  }
  blockBrokenPipeSignal();
  return {display, Link::Clock::now() + options.replyTimeout, options.interrupt};
}

}  // namespace

Connection::Connection(const std::string& display, const Options& options)
    : options_(options),
      link_(linkTo(display, options)),
      screen_(screenNumbered(get(), screenNumber())) {
  if (screen_ == nullptr) throw Error::cannotConnect(display);
}

PixelRect Connection::rootArea() const {
  const auto geometry = reply(xcb_get_geometry_reply, xcb_get_geometry(get(), root()));
  return {0, 0, geometry->width, geometry->height};
}

const xcb_query_extension_reply_t* Connection::extension(xcb_extension_t& which) const {
  const auto* data = xcb_get_extension_data(get(), &which);
  if (data == nullptr) throw Error::connectionLost();
  return data->present != 0 ? data : nullptr;
}

bool Connection::isLocal() const {
  sockaddr_storage address{};
  socklen_t length = sizeof address;
  const int fd = xcb_get_file_descriptor(get());
  return getpeername(fd, reinterpret_cast<sockaddr*>(&address), &length) == 0 &&
         address.ss_family == AF_UNIX;
}

void Connection::check(xcb_void_cookie_t cookie) const {
  // after the reply to a later request xcb_request_check has its result and does not wait
  reply(xcb_get_input_focus_reply, xcb_get_input_focus(get()));
  const XcbPtr<xcb_generic_error_t> error(xcb_request_check(get(), cookie));
  if (error) throw Error::refused(error->error_code);
}

XcbPtr<xcb_generic_event_t> Connection::pollEvent() const {
  XcbPtr<xcb_generic_event_t> event(xcb_poll_for_event(get()));
  if (!event && xcb_connection_has_error(get()) != 0) throw Error::connectionLost();
  return event;
}

void Connection::flush() const {
  if (xcb_flush(get()) <= 0) throw Error::connectionLost();
}

void* Connection::awaitReply(unsigned int sequence) const {
  const auto deadline = std::chrono::steady_clock::now() + options_.replyTimeout;
  flush();
  void* reply = nullptr;
  while (!pollReply(sequence, &reply))
    awaitBytes(deadline);
  return reply;
}

void* Connection::awaitReplyIfAny(unsigned int sequence) const try {
  return awaitReply(sequence);
} catch (const Error& error) {
  if (error.kind() != Error::Case::requestRefused) throw;
  return nullptr;
}

/// Returns false while the reply has not come.
bool Connection::pollReply(unsigned int sequence, void** reply) const {
  xcb_generic_error_t* error = nullptr;
  if (xcb_poll_for_reply(get(), sequence, reply, &error) == 0) return false;
  const XcbPtr<xcb_generic_error_t> owned(error);
  if (owned) throw Error::refused(owned->error_code);
  if (*reply == nullptr) throw Error::connectionLost();
  return true;
}

void Connection::awaitBytes(std::chrono::steady_clock::time_point deadline) const {
  const auto left =
      std::chrono::ceil<std::chrono::milliseconds>(deadline - std::chrono::steady_clock::now());
  if (left.count() <= 0) throw Error::notResponding();
  pollfd descriptor{xcb_get_file_descriptor(get()), POLLIN, 0};
  poll(&descriptor, 1, static_cast<int>(left.count()));
}

}  // namespace tarvinel::x11
