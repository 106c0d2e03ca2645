#include "tests/support/TestClient.h"

#include <arpa/inet.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <sys/time.h>

#include <array>
#include <cerrno>
#include <stdexcept>
#include <system_error>

namespace tarvinel::test {

namespace {

constexpr int patienceSeconds = 60;

void check(int result, const char* what) {
  if (result < 0) throw std::system_error(errno, std::generic_category(), what);
}

}  // namespace

TestClient::TestClient(std::uint16_t port, int receiveBuffer)
    : TestClient(port, receiveBuffer, "127.0.0.1") {}

TestClient::TestClient(std::uint16_t port, const char* from) : TestClient(port, 0, from) {}

TestClient::TestClient(std::uint16_t port, int receiveBuffer, const char* from)
    : fd_(socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0)) {
  check(fd_.get(), "socket");
  if (receiveBuffer > 0) {
    check(setsockopt(fd_.get(), SOL_SOCKET, SO_RCVBUF, &receiveBuffer, sizeof receiveBuffer),
          "SO_RCVBUF");
  }
  const timeval timeout{patienceSeconds, 0};
  check(setsockopt(fd_.get(), SOL_SOCKET, SO_RCVTIMEO, &timeout, sizeof timeout), "SO_RCVTIMEO");
  sockaddr_in address{};
  address.sin_family = AF_INET;
  address.sin_addr.s_addr = inet_addr(from);
  check(bind(fd_.get(), reinterpret_cast<const sockaddr*>(&address), sizeof address), "bind");
  address.sin_port = htons(port);
  address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
  check(connect(fd_.get(), reinterpret_cast<const sockaddr*>(&address), sizeof address), "connect");
}

void TestClient::send(std::string_view bytes) {
  if (!trySend(bytes)) throw std::system_error(errno, std::generic_category(), "send");
}

bool TestClient::trySend(std::string_view bytes) {
  while (!bytes.empty()) {
    const ssize_t count = ::send(fd_.get(), bytes.data(), bytes.size(), MSG_NOSIGNAL);
    if (count < 0) return false;
    bytes.remove_prefix(static_cast<std::size_t>(count));
  }
  return true;
}

std::string TestClient::read(std::size_t count) {
  std::string bytes(count, '\0');
  std::size_t have = 0;
  while (have < count) {
    const ssize_t got = recv(fd_.get(), bytes.data() + have, count - have, 0);
    check(static_cast<int>(got < 0 ? -1 : 0), "recv");
    if (got == 0) throw std::runtime_error("the connection ended early");
    have += static_cast<std::size_t>(got);
  }
  return bytes;
}

std::string TestClient::readUntil(std::string_view end) {
  std::string bytes;
  while (!bytes.ends_with(end))
    bytes += read(1);
  return bytes;
}

std::string TestClient::readToEnd() {
  std::string bytes;
  std::array<char, 65536> piece{};
  for (;;) {
    const ssize_t got = recv(fd_.get(), piece.data(), piece.size(), 0);
    if (got == 0 || (got < 0 && errno == ECONNRESET)) return bytes;
    check(static_cast<int>(got < 0 ? -1 : 0), "recv");
    bytes.append(piece.data(), static_cast<std::size_t>(got));
  }
}

std::string TestClient::readPart() {
  constexpr std::string_view before =
      "--tarvinelframe\r\nContent-Type: image/jpeg\r\nContent-Length: ";
  if (read(before.size()) != before) throw std::runtime_error("not the head of a part");
  const std::string length = readUntil("\r\n\r\n");
  std::string jpeg = read(std::stoul(length));
  if (read(2) != "\r\n") throw std::runtime_error("not the end of a part");
  return jpeg;
}

void TestClient::shutdownSend() {
  check(shutdown(fd_.get(), SHUT_WR), "shutdown");
}

void TestClient::reset() {
  const linger abortive{1, 0};
  check(setsockopt(fd_.get(), SOL_SOCKET, SO_LINGER, &abortive, sizeof abortive), "SO_LINGER");
  fd_.reset();
}

}  // namespace tarvinel::test
