#pragma once

#include "core/support/Bytes.h"

#include <cstddef>
#include <filesystem>
#include <stdexcept>
#include <string>
#include <system_error>

namespace tarvinel {

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
