#pragma once

#include "core/support/UniqueFd.h"

#include <chrono>
#include <filesystem>
#include <system_error>
#include <utility>

namespace tarvinel {

/// The small program with the privilege to listen on port 80, which passes the socket on to this
/// one (see app/bind-helper). Plain value.
class PortHelper {
 public:
  /// The helper at a path, which is given so much time to answer.
  explicit PortHelper(std::filesystem::path program,
                      std::chrono::milliseconds limit = std::chrono::seconds(5))
      : program_(std::move(program)), limit_(limit) {}

  /// Where the helper of a program is: beside it in a build tree, else in "libexec/tarvinel" of
  /// the prefix it is installed in.
  static std::filesystem::path placeFor(const std::filesystem::path& program);

  /// The one of the running program.
  static PortHelper ofThisProgram();

  const std::filesystem::path& place() const { return program_; }

  /// A socket that listens on port 80. Blocks until the helper has answered and gone. Throws
  /// std::system_error: that the port is taken, or the refusal it is given when the helper is not
  /// there, may not do it either or does anything unexpected.
  UniqueFd listen(std::error_code refusal) const;

 private:
  std::filesystem::path program_;
  std::chrono::milliseconds limit_;
};

}  // namespace tarvinel
