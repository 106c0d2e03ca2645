#include "bench/ViewerProcess.h"

#include <netinet/in.h>
#include <poll.h>
#include <sys/epoll.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <exception>
#include <stdexcept>
#include <string>
#include <string_view>
#include <system_error>
#include <utility>
#include <vector>

namespace tarvinel {

namespace {

constexpr int maxWaitMilliseconds = 30000;
constexpr std::size_t maxReadBytes = 262144;

template <class Value>
Value checked(Value value, const char* call) {
  if (value < 0) throw std::system_error(errno, std::generic_category(), call);
  return value;
}

UniqueFd requestedStream(std::uint16_t port) {
  UniqueFd viewer(checked(socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0), "socket"));
  sockaddr_in address{};
  address.sin_family = AF_INET;
  address.sin_port = htons(port);
  address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
  checked(connect(viewer.get(), reinterpret_cast<sockaddr*>(&address), sizeof address), "connect");
  constexpr std::string_view request = "GET /stream HTTP/1.1\r\n\r\n";
  checked(::send(viewer.get(), request.data(), request.size(), MSG_NOSIGNAL), "send");
  return viewer;
}

// Nothing follows the head before the first frame.
void readHead(int viewer) {
  std::string head;
  while (!head.ends_with("\r\n\r\n")) {
    char byte = 0;
    if (checked(recv(viewer, &byte, 1, 0), "recv") == 0) throw std::runtime_error("no stream head");
    head.push_back(byte);
  }
}

}  // namespace

struct ViewerProcess::Command {
  enum class Kind : std::uint8_t { join, readHeads, setBytesPerRound, leave };
  Kind kind;
  std::uint16_t port = 0;
  std::size_t number = 0;
};

/// The viewers, inside their process.
class ViewerProcess::Crowd {
 public:
  explicit Crowd(int control) : control_(control) { watch(control_); }

  /// Reads until the other process closes its end.
  void run() {
    std::array<epoll_event, 64> events{};
    for (;;) {
      const int count =
          checked(epoll_wait(epoll_.get(), events.data(), events.size(), -1), "epoll");
      for (std::size_t i = 0; i < static_cast<std::size_t>(count); ++i) {
        if (events.at(i).data.fd != control_) {
          read(events.at(i).data.fd);
        } else if (!execute()) {
          return;
        }
      }
    }
  }

 private:
  bool execute() {
    Command command{};
    if (checked(recv(control_, &command, sizeof command, 0), "recv") == 0) return false;
    switch (command.kind) {
      case Command::Kind::join:
        for (std::size_t i = 0; i < command.number; ++i)
          joining_.push_back(requestedStream(command.port));
        break;
      case Command::Kind::readHeads:
        readHeads();
        break;
      case Command::Kind::setBytesPerRound:
        bytesPerRound_ = command.number;
        break;
      case Command::Kind::leave:
        viewers_.clear();
        break;
    }
    answer();
    return true;
  }

  void readHeads() {
    for (UniqueFd& viewer : joining_) {
      readHead(viewer.get());
      watch(viewer.get());
      viewers_.push_back(std::move(viewer));
    }
    joining_.clear();
  }

  void read(int viewer) {
    bytesRead_ += static_cast<std::size_t>(
        checked(recv(viewer, buffer_.data(), buffer_.size(), MSG_DONTWAIT), "recv"));
    if (bytesRead_ < bytesPerRound_) return;
    bytesRead_ -= bytesPerRound_;
    answer();
  }

  void watch(int fd) {
    epoll_event interest{};
    interest.events = EPOLLIN;
    interest.data.fd = fd;
    checked(epoll_ctl(epoll_.get(), EPOLL_CTL_ADD, fd, &interest), "epoll_ctl");
  }

  void answer() { checked(::send(control_, "", 1, MSG_NOSIGNAL), "send"); }

  const int control_;
  UniqueFd epoll_{checked(epoll_create1(EPOLL_CLOEXEC), "epoll_create1")};
  std::vector<UniqueFd> joining_;
  std::vector<UniqueFd> viewers_;
  std::vector<char> buffer_ = std::vector<char>(maxReadBytes);
  std::size_t bytesPerRound_ = 0;
  std::size_t bytesRead_ = 0;
};

ViewerProcess::ViewerProcess() {
  std::array<int, 2> ends{};
  checked(socketpair(AF_UNIX, SOCK_SEQPACKET | SOCK_CLOEXEC, 0, ends.data()), "socketpair");
  control_.reset(ends[0]);
  start(UniqueFd(ends[1]));
}

void ViewerProcess::start(UniqueFd childsEnd) {
  process_ = checked(fork(), "fork");
  if (process_ != 0) return;
  control_.reset();
  run(childsEnd.get());
}

void ViewerProcess::run(int control) {
  try {
    Crowd(control).run();
    std::_Exit(EXIT_SUCCESS);
  } catch (const std::exception& error) {
    std::fprintf(stderr, "viewers: %s\n", error.what());
    std::_Exit(EXIT_FAILURE);
  }
}

ViewerProcess::~ViewerProcess() {
  control_.reset();
  waitpid(process_, nullptr, 0);
}

void ViewerProcess::join(std::uint16_t port, std::size_t count) {
  send({Command::Kind::join, port, count});
  waitForAnswer();
}

void ViewerProcess::waitForHeads() {
  send({Command::Kind::readHeads});
  waitForAnswer();
}

void ViewerProcess::setBytesPerRound(std::size_t bytes) {
  send({Command::Kind::setBytesPerRound, 0, bytes});
  waitForAnswer();
}

void ViewerProcess::waitForRound() {
  waitForAnswer();
}

void ViewerProcess::leave() {
  send({Command::Kind::leave});
  waitForAnswer();
}

void ViewerProcess::send(const Command& command) {
  checked(::send(control_.get(), &command, sizeof command, MSG_NOSIGNAL), "send");
}

void ViewerProcess::waitForAnswer() {
  pollfd answered{control_.get(), POLLIN, 0};
  char byte = 0;
  if (checked(poll(&answered, 1, maxWaitMilliseconds), "poll") == 0 ||
      checked(recv(control_.get(), &byte, 1, 0), "recv") == 0) {
    throw std::runtime_error("the viewers did not get every byte");
  }
}

}  // namespace tarvinel
