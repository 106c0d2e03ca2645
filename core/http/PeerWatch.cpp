#include "core/http/PeerWatch.h"

#include <sys/epoll.h>

#include <array>
#include <cerrno>
#include <system_error>
#include <utility>

namespace tarvinel {

namespace {

int makeEpollSet() {
  const int fd = epoll_create1(EPOLL_CLOEXEC);
  if (fd < 0) throw std::system_error(errno, std::generic_category(), "epoll_create1");
  return fd;
}

}  // namespace

PeerWatch::PeerWatch(SerialQueue& queue) : queue_(queue), epoll_(queue.context(), makeEpollSet()) {
  queue_.post([this] { waitForEvents(); });
}

void PeerWatch::add(int socket, Handler handler) {
  queue_.assertCurrent();
  handlers_[socket] = std::move(handler);
  epoll_event interest{};
  interest.events = EPOLLRDHUP | EPOLLET;
  interest.data.fd = socket;
  epoll_ctl(epoll_.native_handle(), EPOLL_CTL_ADD, socket, &interest);
}

void PeerWatch::remove(int socket) {
  if (handlers_.erase(socket) == 0) return;
  epoll_ctl(epoll_.native_handle(), EPOLL_CTL_DEL, socket, nullptr);
}

void PeerWatch::waitForEvents() {
  epoll_.async_wait(asio::posix::stream_descriptor::wait_read, [this](std::error_code error) {
    if (error) return;
    dispatchEvents();
    waitForEvents();
  });
}

void PeerWatch::dispatchEvents() {
  std::array<epoll_event, 64> events{};
  int count = 0;
  do {
    count = epoll_wait(epoll_.native_handle(), events.data(), static_cast<int>(events.size()), 0);
    for (int i = 0; i < count; ++i) {
      const epoll_event& event = events.at(static_cast<std::size_t>(i));
      report(event.data.fd, event.events);
    }
  } while (count == static_cast<int>(events.size()));
}

void PeerWatch::report(int socket, std::uint32_t events) {
  const auto found = handlers_.find(socket);
  if (found == handlers_.end()) return;
  const Handler handler = found->second;  // the handler may remove itself
  handler((events & (EPOLLHUP | EPOLLERR)) != 0 ? Event::gone : Event::sendingEnded);
}

}  // namespace tarvinel
