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

/// Replaces the content of a file, and makes the file and the folders above it if they are missing.
/// A reader always finds either the old content or the new one, also after a power cut. Only the
/// owner can read the file. Throws std::system_error.
void replaceFile(const std::filesystem::path& file, std::string_view content);

enum class FileLock : std::uint8_t {
  taken,  ///< until every descriptor of the open file is closed
  heldByAnother,
  notSupported,  ///< by the file system, as on some network drives
};

/// Tries to lock an open file or folder (flock, exclusively) among all processes; never waits.
FileLock tryLock(int file);

/// The error of a file that could not be read; the text begins with the file's name.
class FileReadError : public std::runtime_error {
 public:
  FileReadError(std::errc code, const std::string& text) : std::runtime_error(text), code_(code) {}

  std::errc code() const { return code_; }

  /// Returns whether there is no file of that name.
  bool isAbsent() const {
    return code_ == std::errc::no_such_file_or_directory || code_ == std::errc::not_a_directory;
  }

 private:
  std::errc code_;
};

/// Reads the whole of a regular file, following symbolic links. Rejects pipes, devices and folders
/// without opening or waiting on them. Throws FileReadError, also if the file is or grows larger
/// than `maxBytes`.
Bytes readRegularFile(const std::filesystem::path& path, std::size_t maxBytes);

}  // namespace tarvinel
