#pragma once

#include "core/support/UniqueFd.h"

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

namespace tarvinel::test {

/// A blocking TCP client of a server on this computer. Every wait is bounded: a test that waits in
/// vain fails with std::runtime_error instead of hanging.
class TestClient {
 public:
  /// Connects to 127.0.0.1. A small receive buffer (bytes) makes a viewer that fills up soon; 0 is
  /// the system's default.
  explicit TestClient(std::uint16_t port, int receiveBuffer = 0);

  /// Connects from another address of this computer, such as "127.0.0.2".
  TestClient(std::uint16_t port, const char* from);

  void send(std::string_view bytes);

  /// Sends what the connection takes; returns false once it is broken.
  bool trySend(std::string_view bytes);

  /// Reads exactly so many bytes; throws if the connection ends before.
  std::string read(std::size_t count);

  /// Reads everything up to and including the first `end`; throws if the connection ends before.
  std::string readUntil(std::string_view end);

  /// Reads everything until the server ends the connection, orderly or by reset.
  std::string readToEnd();

  /// Reads the next part of the stream: checks its head and returns the JPEG.
  std::string readPart();

  /// Shuts down the sending side only.
  void shutdownSend();

  /// Closes the connection in order.
  void close() { fd_.reset(); }

  /// Closes the connection with a reset.
  void reset();

 private:
  TestClient(std::uint16_t port, int receiveBuffer, const char* from);

  UniqueFd fd_;
};

}  // namespace tarvinel::test
