#pragma once

#include "core/support/Bytes.h"

#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <stdexcept>
#include <string>
#include <string_view>
#include <system_error>

namespace tarvinel {

/// Gives a file this content, making it and the folders above it where they are missing. Whatever
/// happens meanwhile, a reader finds the old content or the new one, also after a power cut. The
/// file can be read by its owner only. Throws std::system_error.
void replaceFile(const std::filesystem::path& file, std::string_view content);

enum class FileLock : std::uint8_t {
  taken,  ///< until every descriptor of the open file is closed
  heldByAnother,
  notSupported,  ///< by the file system, as on some network drives
};

/// Tries to lock an open file or folder (flock, exclusively) among all processes; never waits.
FileLock tryLock(int file);

/// Why a file could not be read; the text begins with the file's name.
class FileReadError : public std::runtime_error {
 public:
  FileReadError(std::errc code, const std::string& text) : std::runtime_error(text), code_(code) {}

  std::errc code() const { return code_; }

  /// There is no file of that name.
  bool isAbsent() const {
    return code_ == std::errc::no_such_file_or_directory || code_ == std::errc::not_a_directory;
  }

 private:
  std::errc code_;
};

/// The whole of a regular file, symbolic links followed. Pipes, devices and folders are refused
/// without opening them and never waited on. Throws FileReadError, also when the file is or grows
/// larger than `maxBytes`.
Bytes readRegularFile(const std::filesystem::path& path, std::size_t maxBytes);

}  // namespace tarvinel
