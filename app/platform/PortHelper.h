#pragma once

#include "core/support/UniqueFd.h"

#include <chrono>
#include <filesystem>
#include <system_error>
#include <utility>

namespace tarvinel {

/// The small program with the privilege to listen on port 80, which passes the socket to this
/// process (see app/platform/bind-helper). Plain value.
class PortHelper {
 public:
  /// Takes the helper's path and the time limit for its reply.
  explicit PortHelper(std::filesystem::path program,
                      std::chrono::milliseconds limit = std::chrono::seconds(5))
      : program_(std::move(program)), limit_(limit) {}

  /// Returns where a program's helper is: beside it in a build tree, else in "libexec/tarvinel"
  /// below its installation prefix.
  static std::filesystem::path placeFor(const std::filesystem::path& program);

  /// Returns the helper of the running program.
  static PortHelper ofThisProgram();

  const std::filesystem::path& place() const { return program_; }

  /// Returns a socket that listens on port 80. Blocks until the helper has replied and exited.
  /// Throws std::system_error: EADDRINUSE if the port is taken, or `refusal` if the helper is
  /// missing, lacks the privilege or replies incorrectly.
  UniqueFd listen(std::error_code refusal) const;

 private:
  std::filesystem::path program_;
  std::chrono::milliseconds limit_;
};

}  // namespace tarvinel
