#pragma once

#include "core/support/UniqueFd.h"

#include <sys/stat.h>

#include <cstdint>
#include <filesystem>
#include <optional>
#include <string>
#include <vector>

namespace tarvinel {

/// An open folder. All operations use its descriptor, so that it stays the same folder even if its
/// path changes, and never follow a symbolic link out of it: names are single components and links
/// are not followed.
///
/// Blocks as long as the disk does. Failures are thrown as std::system_error. Safe from any thread.
class Directory {
 public:
  struct Entry {
    std::string name;
    bool isDirectory = false;
    bool isRegularFile = false;
  };

  /// Opens the folder at an absolute path, no part of which may be a symbolic link.
  static Directory open(const std::filesystem::path& path);

  /// Opens a folder in this one.
  Directory subdirectory(const std::string& name) const;

  /// Opens a folder in this one, and makes it if it is missing, so that it would survive a power
  /// cut.
  Directory madeSubdirectory(const std::string& name) const;

  /// Returns the path at which it was opened; that can be another folder by now.
  const std::filesystem::path& path() const { return path_; }

  /// Opens a file in it; the flags and the mode are those of open(2).
  UniqueFd openFile(const std::string& name, int flags, mode_t mode = 0) const;

  /// Returns the status of an entry, of a link itself rather than of its target, or nullopt if
  /// there is no such entry.
  std::optional<struct stat> find(const std::string& name) const;

  /// Returns whether this process can make files in it.
  bool isWritable() const;

  /// Returns all entries except "." and "..".
  std::vector<Entry> entries() const;

  void removeFile(const std::string& name) const;

  /// Returns the number of bytes that can still be written.
  std::int64_t freeBytes() const;

  /// Returns once the names in it would survive a power cut, or at once if the file system does not
  /// support that.
  void sync() const;

  int descriptor() const { return fd_.get(); }

 private:
  Directory(UniqueFd fd, std::filesystem::path path);

  UniqueFd fd_;
  std::filesystem::path path_;
};

}  // namespace tarvinel
