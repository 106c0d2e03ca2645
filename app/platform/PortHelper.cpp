#include "app/platform/PortHelper.h"

#include "app/platform/bind-helper/BindHelper.h"

#include <fcntl.h>
#include <netinet/in.h>
#include <poll.h>
#include <spawn.h>
#include <sys/socket.h>
#include <sys/wait.h>

#include <array>
#include <cerrno>
#include <csignal>
#include <cstring>
#include <optional>
#include <string>
#include <utility>

namespace tarvinel {

namespace {

using Clock = std::chrono::steady_clock;
using std::filesystem::path;

struct Channel {
  UniqueFd ours;
  UniqueFd helpers;
};

std::optional<Channel> openChannel() {
  std::array<int, 2> ends{};
  if (::socketpair(AF_UNIX, SOCK_SEQPACKET | SOCK_CLOEXEC, 0, ends.data()) != 0) return {};
  return Channel{UniqueFd(ends[0]), UniqueFd(ends[1])};
}

/// The descriptors that the helper inherits: the channel, and no other one of this process.
class SpawnFiles {
 public:
  explicit SpawnFiles(int channel) {
    posix_spawn_file_actions_init(&actions_);
    posix_spawn_file_actions_adddup2(&actions_, channel, BindHelper::channel);
    posix_spawn_file_actions_addclosefrom_np(&actions_, BindHelper::channel + 1);
    for (const int standard : {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO})
      posix_spawn_file_actions_addopen(&actions_, standard, "/dev/null", O_RDWR, 0);
  }
  ~SpawnFiles() { posix_spawn_file_actions_destroy(&actions_); }
  SpawnFiles(const SpawnFiles&) = delete;
  SpawnFiles& operator=(const SpawnFiles&) = delete;

  const posix_spawn_file_actions_t* get() const { return &actions_; }

 private:
  posix_spawn_file_actions_t actions_{};
};

/// A running helper; the destructor kills it.
class HelperProcess {
 public:
  HelperProcess(const path& program, int channel) {
    const SpawnFiles files(channel);
    std::string name = program.filename();
    std::array<char*, 2> arguments{name.data(), nullptr};
    std::array<char*, 1> noEnvironment{nullptr};
    const int error = posix_spawn(&pid_, program.c_str(), files.get(), nullptr, arguments.data(),
                                  noEnvironment.data());
    if (error != 0) pid_ = none;
  }
  ~HelperProcess() {
    if (pid_ == none) return;
    ::kill(pid_, SIGKILL);  // it has replied or timed out
    while (::waitpid(pid_, nullptr, 0) < 0 && errno == EINTR) {
    }
  }
  HelperProcess(const HelperProcess&) = delete;
  HelperProcess& operator=(const HelperProcess&) = delete;

  bool runs() const { return pid_ != none; }

 private:
  static constexpr pid_t none = -1;

  pid_t pid_ = none;
};

bool readableBefore(int fd, Clock::time_point deadline) {
  pollfd waiting{fd, POLLIN, 0};
  while (true) {
    const auto left = std::chrono::ceil<std::chrono::milliseconds>(deadline - Clock::now());
    if (left.count() <= 0) return false;
    const int ready = ::poll(&waiting, 1, static_cast<int>(left.count()));
    if (ready >= 0 || errno != EINTR) return ready > 0;
  }
}

struct Reply {
  int error = 0;
  UniqueFd socket;
};

/// Returns the last of the received descriptors; closes the others.
UniqueFd attachedTo(msghdr& message) {
  UniqueFd last;
  for (cmsghdr* part = CMSG_FIRSTHDR(&message); part != nullptr;
       part = CMSG_NXTHDR(&message, part)) {
    if (part->cmsg_level != SOL_SOCKET || part->cmsg_type != SCM_RIGHTS) continue;
    const std::size_t count = (part->cmsg_len - CMSG_LEN(0)) / sizeof(int);
    for (std::size_t i = 0; i < count; ++i) {
      int fd = -1;
      std::memcpy(&fd, CMSG_DATA(part) + i * sizeof fd, sizeof fd);
      last.reset(fd);
    }
  }
  return last;
}

/// Returns nullopt if the message is not a valid reply.
std::optional<Reply> readResponse(int channel) {
  Reply reply;
  iovec body{&reply.error, sizeof reply.error};
  alignas(cmsghdr) std::array<char, CMSG_SPACE(sizeof(int))> control{};
  msghdr message{};
  message.msg_iov = &body;
  message.msg_iovlen = 1;
  message.msg_control = control.data();
  message.msg_controllen = control.size();
  const ssize_t got = ::recvmsg(channel, &message, MSG_DONTWAIT | MSG_CMSG_CLOEXEC);
  if (got < 0) return {};
  reply.socket = attachedTo(message);
  const bool isWhole = got == sizeof reply.error && (message.msg_flags & MSG_TRUNC) == 0;
  return isWhole ? std::optional(std::move(reply)) : std::nullopt;
}

bool hasOption(int fd, int option, int expected) {
  int value = 0;
  socklen_t size = sizeof value;
  return ::getsockopt(fd, SOL_SOCKET, option, &value, &size) == 0 && value == expected;
}

/// Returns the bound port of an IPv6 or IPv4 socket; both address types hold it at the same offset.
std::uint16_t portOf(int fd) {
  sockaddr_in6 address{};
  socklen_t size = sizeof address;
  if (::getsockname(fd, reinterpret_cast<sockaddr*>(&address), &size) != 0) return 0;
  if (address.sin6_family != AF_INET6 && address.sin6_family != AF_INET) return 0;
  return ntohs(address.sin6_port);
}

bool listensOnThePort(int fd) {
  return hasOption(fd, SO_PROTOCOL, IPPROTO_TCP) && hasOption(fd, SO_ACCEPTCONN, 1) &&
         portOf(fd) == BindHelper::port;
}

std::optional<Reply> ask(const path& program, std::chrono::milliseconds limit) {
  auto channel = openChannel();
  if (!channel) return {};
  const HelperProcess helper(program, channel->helpers.get());
  channel->helpers.reset();  // so that the helper's exit closes the channel
  if (!helper.runs() || !readableBefore(channel->ours.get(), Clock::now() + limit)) return {};
  return readResponse(channel->ours.get());
}

}  // namespace

path PortHelper::placeFor(const path& program) {
  constexpr const char* name = "tarvinel-bind";
  path beside = program.parent_path() / name;
  std::error_code unreachable;
  if (std::filesystem::exists(beside, unreachable)) return beside;
  return program.parent_path().parent_path() / "libexec/tarvinel" / name;
}

PortHelper PortHelper::ofThisProgram() {
  std::error_code unreadable;
  return PortHelper(placeFor(std::filesystem::read_symlink("/proc/self/exe", unreadable)));
}

UniqueFd PortHelper::listen(std::error_code refusal) const {
  auto reply = ask(program_, limit_);
  if (reply && reply->error == EADDRINUSE) {
    throw std::system_error(EADDRINUSE, std::system_category());
  }
  if (!reply || reply->error != 0 || !listensOnThePort(reply->socket.get())) {
    throw std::system_error(refusal);
  }
  return std::move(reply->socket);
}

}  // namespace tarvinel
