#pragma once

#include "core/support/UniqueFd.h"

#include <sys/stat.h>

#include <cstdint>
#include <filesystem>
#include <optional>
#include <string>
#include <vector>

namespace tarvinel {

/// An open folder. Everything below goes through its descriptor, so that it stays the same folder
/// whatever happens to its path, and nothing follows a symbolic link out of it: names are single
/// components and links count as what they are.
///
/// Blocks as long as the disk does. Failures are thrown as std::system_error. Safe from any thread.
class Directory {
 public:
  struct Entry {
    std::string name;
    bool isDirectory = false;
    bool isRegularFile = false;
  };

  /// Opens the folder at an absolute path that no part of which may be a symbolic link.
  static Directory open(const std::filesystem::path& path);

  /// Opens a folder in this one.
  Directory subdirectory(const std::string& name) const;

  /// Makes a folder in this one where it is missing, so that it would survive a power cut, and
  /// opens it.
  Directory madeSubdirectory(const std::string& name) const;

  /// Where it was opened; something else may be there by now.
  const std::filesystem::path& path() const { return path_; }

  /// Opens a file in it; the flags and the mode are those of open(2).
  UniqueFd openFile(const std::string& name, int flags, mode_t mode = 0) const;

  /// What stands under a name, a link itself rather than what it points to; nothing when nothing
  /// does.
  std::optional<struct stat> find(const std::string& name) const;

  /// Whether this process may make files in it.
  bool isWritable() const;

  /// Everything in it, without "." and "..".
  std::vector<Entry> entries() const;

  void removeFile(const std::string& name) const;

  /// Bytes that can still be written.
  std::int64_t freeBytes() const;

  /// Returns once the names in it would survive a power cut; where the file system cannot tell,
  /// at once.
  void sync() const;

  int descriptor() const { return fd_.get(); }

 private:
  Directory(UniqueFd fd, std::filesystem::path path);

  UniqueFd fd_;
  std::filesystem::path path_;
};

}  // namespace tarvinel
