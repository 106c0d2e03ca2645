#include "bench/BareFanOut.h"

#include "core/http/HTTPResponse.h"
#include "core/http/MJPEGFramer.h"
#include "core/http/ViewerSocket.h"

#include <sys/epoll.h>
#include <sys/socket.h>
#include <sys/uio.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <string_view>
#include <system_error>
#include <utility>

namespace tarvinel {

namespace {

[[noreturn]] void fail(const char* call) {
  throw std::system_error(errno, std::generic_category(), call);
}

/// The remainder of a part of which `sent` bytes were sent.
class Rest {
 public:
  Rest(std::string_view head, const Bytes& jpeg, std::size_t sent) : sent_(sent) {
    add(head.data(), head.size());
    add(jpeg.data(), jpeg.size());
    add(MJPEGFramer::partEnd.data(), MJPEGFramer::partEnd.size());
    message_.msg_iov = pieces_.data();
  }

  std::size_t size() const { return size_; }
  const msghdr* message() const { return &message_; }

 private:
  void add(const void* bytes, std::size_t size) {
    const std::size_t skipped = std::min(sent_, size);
    sent_ -= skipped;
    if (skipped == size) return;
    auto* rest = const_cast<char*>(static_cast<const char*>(bytes)) + skipped;
    pieces_.at(message_.msg_iovlen++) = {rest, size - skipped};
    size_ += size - skipped;
  }

  std::array<iovec, 3> pieces_{};
  msghdr message_{};
  std::size_t size_ = 0;
  std::size_t sent_;
};

}  // namespace

BareFanOut::BareFanOut()
    : acceptor_(context_, {asio::ip::address_v4::loopback(), 0}),
      epoll_(epoll_create1(EPOLL_CLOEXEC)) {
  if (!epoll_) fail("epoll_create1");
}

void BareFanOut::accept(std::size_t count) {
  const Bytes head = HTTPResponse::mjpegHead();
  for (std::size_t i = 0; i < count; ++i) {
    asio::ip::tcp::socket accepted = acceptor_.accept();
    prepareViewerSocket(accepted);
    Viewer viewer{UniqueFd(accepted.release())};
    epoll_event interest{};
    interest.events = EPOLLOUT | EPOLLET;
    interest.data.u64 = viewers_.size();
    if (epoll_ctl(epoll_.get(), EPOLL_CTL_ADD, viewer.socket.get(), &interest) != 0 ||
        ::send(viewer.socket.get(), head.data(), head.size(), MSG_NOSIGNAL) < 0) {
      fail("accept");
    }
    viewers_.push_back(std::move(viewer));
  }
}

void BareFanOut::send(const Frame& frame) {
  frame_ = frame;
  partHead_ = MJPEGFramer::partHead(frame->size());
  std::size_t waiting = 0;
  for (Viewer& viewer : viewers_) {
    viewer.sent = 0;
    if (!sendRest(viewer)) ++waiting;
  }
  while (waiting > 0)
    waiting -= sendToWritable();
}

// Returns true if the part is complete.
bool BareFanOut::sendRest(Viewer& viewer) const {
  const Rest rest(partHead_, *frame_, viewer.sent);
  if (rest.size() == 0) return true;
  const ssize_t count = sendmsg(viewer.socket.get(), rest.message(), MSG_NOSIGNAL);
  if (count < 0 && errno != EAGAIN) fail("sendmsg");
  if (count > 0) viewer.sent += static_cast<std::size_t>(count);
  return static_cast<std::size_t>(count) == rest.size();
}

// Returns how many more are complete now.
std::size_t BareFanOut::sendToWritable() {
  std::array<epoll_event, 64> events{};
  const int count = epoll_wait(epoll_.get(), events.data(), static_cast<int>(events.size()), -1);
  if (count < 0) fail("epoll_wait");
  std::size_t completed = 0;
  for (std::size_t i = 0; i < static_cast<std::size_t>(count); ++i) {
    Viewer& viewer = viewers_.at(events.at(i).data.u64);
    const bool wasComplete = Rest(partHead_, *frame_, viewer.sent).size() == 0;
    if (!wasComplete && sendRest(viewer)) ++completed;
  }
  return completed;
}

}  // namespace tarvinel
