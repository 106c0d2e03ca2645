#include "app/x11/Link.h"

#include "app/x11/Error.h"
#include "core/support/UniqueFd.h"

#include <X11/Xauth.h>
#include <netdb.h>
#include <netinet/in.h>
#include <poll.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <condition_variable>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <mutex>
#include <string_view>
#include <thread>
#include <utility>

namespace tarvinel::x11 {

namespace {

using Time = Link::Clock::time_point;

constexpr int firstPort = 6000;
constexpr std::chrono::milliseconds pauseWhileBusy{10};

struct DisplayName {
  std::string host;  ///< empty or "unix": this computer; with a slash: a socket's path
  int number = 0;
  int screen = 0;
};

DisplayName parsed(const std::string& display) {
  DisplayName name;
  char* host = nullptr;
  if (xcb_parse_display(display.c_str(), &host, &name.number, &name.screen) == 0) {
    throw Error::cannotConnect(display);
  }
  name.host = host;
  std::free(host);  // NOLINT(cppcoreguidelines-no-malloc): xcb takes its memory from malloc
  return name;
}

/// Returns false once the deadline has passed.
bool waitFor(int fd, short events, Time deadline) {
  while (true) {
    const auto left = std::chrono::ceil<std::chrono::milliseconds>(deadline - Time::clock::now());
    pollfd waiting{fd, events, 0};
    const int ready = poll(&waiting, 1, std::max(0, static_cast<int>(left.count())));
    if (ready >= 0 || errno != EINTR) return ready > 0;
  }
}

// Opening

bool hasConnected(int fd, Time deadline) {
  if (!waitFor(fd, POLLOUT, deadline)) throw Error::notResponding();
  int error = 0;
  socklen_t size = sizeof error;
  return getsockopt(fd, SOL_SOCKET, SO_ERROR, &error, &size) == 0 && error == 0;
}

/// Returns a connected socket, or an empty one if nobody listens there.
UniqueFd connectTo(const sockaddr* address, socklen_t length, Time deadline) {
  UniqueFd fd(socket(address->sa_family, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0));
  while (connect(fd.get(), address, length) != 0) {
    if (errno == EINPROGRESS) return hasConnected(fd.get(), deadline) ? std::move(fd) : UniqueFd();
    if (errno != EAGAIN) return {};  // EAGAIN: the server's queue of connections is full
    if (Time::clock::now() > deadline) throw Error::notResponding();
    std::this_thread::sleep_for(pauseWhileBusy);
  }
  return fd;
}

UniqueFd connectToPath(std::string_view path, Time deadline) {
  sockaddr_un address{};
  address.sun_family = AF_UNIX;
  if (path.size() >= sizeof address.sun_path) return {};
  std::ranges::copy(path, address.sun_path);
  const auto length = static_cast<socklen_t>(offsetof(sockaddr_un, sun_path) + path.size());
  return connectTo(reinterpret_cast<const sockaddr*>(&address), length, deadline);
}

UniqueFd connectToHost(std::string host, int number, Time deadline) {
  if (host.starts_with('[') && host.ends_with(']')) host = host.substr(1, host.size() - 2);
  addrinfo wanted{};
  wanted.ai_socktype = SOCK_STREAM;
  addrinfo* first = nullptr;
  const std::string port = std::to_string(firstPort + number);
  if (getaddrinfo(host.c_str(), port.c_str(), &wanted, &first) != 0) return {};
  const std::unique_ptr<addrinfo, void (*)(addrinfo*)> addresses(first, freeaddrinfo);
  for (const addrinfo* each = first; each != nullptr; each = each->ai_next) {
    if (UniqueFd fd = connectTo(each->ai_addr, each->ai_addrlen, deadline)) return fd;
  }
  return {};
}

UniqueFd connectLocally(int number, Time deadline) {
  const std::string path = "/tmp/.X11-unix/X" + std::to_string(number);
  UniqueFd fd = connectToPath('\0' + path, deadline);  // the abstract socket, which needs no folder
  return fd ? std::move(fd) : connectToPath(path, deadline);
}

UniqueFd connectTo(const DisplayName& name, Time deadline) {
  if (name.host.starts_with('/')) return connectToPath(name.host, deadline);
  if (!name.host.empty() && name.host != "unix") {
    return connectToHost(name.host, name.number, deadline);
  }
  UniqueFd fd = connectLocally(name.number, deadline);
  if (fd || !name.host.empty()) return fd;
  return connectToHost("localhost", name.number, deadline);
}

// Cookies

/// The key under which a display's cookie is stored.
struct AuthorityKey {
  unsigned short family = FamilyLocal;
  std::string address = {};
};

std::string bytesAt(const void* bytes, std::size_t count) {
  return {static_cast<const char*>(bytes), count};
}

AuthorityKey keyOfThisComputer() {
  std::array<char, 256> name{};
  gethostname(name.data(), name.size() - 1);
  return {FamilyLocal, name.data()};
}

AuthorityKey keyOfIPv4(const void* address) {
  constexpr std::string_view loopback("\x7f\0\0\x01", 4);
  std::string bytes = bytesAt(address, sizeof(in_addr));
  if (bytes == loopback) return keyOfThisComputer();
  return {XCB_FAMILY_INTERNET, std::move(bytes)};
}

AuthorityKey keyOfIPv6(const in6_addr& address) {
  if (IN6_IS_ADDR_V4MAPPED(&address)) return keyOfIPv4(&address.s6_addr[12]);
  if (IN6_IS_ADDR_LOOPBACK(&address)) return keyOfThisComputer();
  return {XCB_FAMILY_INTERNET_6, bytesAt(&address, sizeof address)};
}

AuthorityKey keyOf(int socket) {
  sockaddr_storage peer{};
  socklen_t size = sizeof peer;
  getpeername(socket, reinterpret_cast<sockaddr*>(&peer), &size);
  if (peer.ss_family == AF_INET) return keyOfIPv4(&reinterpret_cast<sockaddr_in&>(peer).sin_addr);
  if (peer.ss_family == AF_INET6) {
    return keyOfIPv6(reinterpret_cast<sockaddr_in6&>(peer).sin6_addr);
  }
  return keyOfThisComputer();
}

struct DisposeAuthority {
  void operator()(Xauth* entry) const { XauDisposeAuth(entry); }
};
using Authority = std::unique_ptr<Xauth, DisposeAuthority>;

/// Returns the cookie for a server, or null if there is none.
Authority authorityFor(int socket, int displayNumber) {
  const AuthorityKey key = keyOf(socket);
  const std::string number = std::to_string(displayNumber);
  std::string method = "MIT-MAGIC-COOKIE-1";
  char* methods[] = {method.data()};
  const int lengths[] = {static_cast<int>(method.size())};
  return Authority(XauGetBestAuthByAddr(
      key.family, static_cast<unsigned short>(key.address.size()), key.address.data(),
      static_cast<unsigned short>(number.size()), number.data(), 1, methods, lengths));
}

// Connection setup

/// Shuts a socket down at a deadline.
class SocketDeadline {
 public:
  SocketDeadline(int fd, Time deadline) : thread_([this, fd, deadline] { watch(fd, deadline); }) {}
  ~SocketDeadline() { lift(); }
  SocketDeadline(const SocketDeadline&) = delete;
  SocketDeadline& operator=(const SocketDeadline&) = delete;

  /// Lifts the deadline; returns whether it had passed.
  bool lift() {
    {
      const std::scoped_lock lock(mutex_);
      lifted_ = true;
    }
    changed_.notify_all();
    if (thread_.joinable()) thread_.join();
    return passed_;
  }

 private:
  void watch(int fd, Time deadline) {
    std::unique_lock lock(mutex_);
    passed_ = !changed_.wait_until(lock, deadline, [this] { return lifted_; });
    if (passed_) shutdown(fd, SHUT_RDWR);
  }

  std::mutex mutex_;
  std::condition_variable changed_;
  bool lifted_ = false;  // guarded by mutex_
  bool passed_ = false;  // written by the thread
  std::thread thread_;
};

}  // namespace

Socket::Socket(std::shared_ptr<Interrupt> interrupt, int fd)
    : interrupt_(std::move(interrupt)), fd_(fd) {
  if (interrupt_) interrupt_->add(fd_);
}

Socket::~Socket() {
  if (interrupt_) interrupt_->remove(fd_);
}

Link::Link(const std::string& display, Clock::time_point deadline,
           std::shared_ptr<Interrupt> interrupt) {
  const DisplayName name = parsed(display);
  screenNumber_ = name.screen;
  UniqueFd fd = connectTo(name, deadline);
  if (!fd) throw Error::cannotConnect(display);
  const Authority cookie = authorityFor(fd.get(), name.number);
  xcb_auth_info_t sent{};
  if (cookie) sent = {cookie->name_length, cookie->name, cookie->data_length, cookie->data};
  socket_ = std::make_unique<Socket>(std::move(interrupt), fd.get());
  SocketDeadline limit(fd.get(), deadline);
  connection_.reset(xcb_connect_to_fd(fd.release(), cookie ? &sent : nullptr));
  if (limit.lift()) throw Error::notResponding();
  if (xcb_connection_has_error(get()) != 0) throw Error::cannotConnect(display);
}

void Interrupt::interrupt() {
  const std::scoped_lock lock(mutex_);
  interrupted_ = true;
  for (const int fd : sockets_)
    shutdown(fd, SHUT_RDWR);
}

void Interrupt::add(int fd) {
  const std::scoped_lock lock(mutex_);
  sockets_.insert(fd);
  if (interrupted_) shutdown(fd, SHUT_RDWR);
}

void Interrupt::remove(int fd) {
  const std::scoped_lock lock(mutex_);
  sockets_.erase(fd);
}

}  // namespace tarvinel::x11
