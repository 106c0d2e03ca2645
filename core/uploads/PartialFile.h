#pragma once

#include "core/support/Directory.h"
#include "core/support/UniqueFd.h"

#include <cstdint>
#include <memory>
#include <optional>
#include <span>
#include <string>

namespace tarvinel {

/// Ways to rename a file within a folder without ever replacing another file. Static; each blocks
/// as long as the disk does and throws std::system_error if it fails.
class Placement {
 public:
  Placement() = delete;

  enum class Outcome : std::uint8_t {
    placed,
    nameTaken,     ///< nothing was changed
    notSupported,  ///< the file system has no such operation; nothing was changed
  };

  using Strategy = Outcome (*)(const Directory&, const std::string& from, const std::string& to);

  /// Uses the first of the strategies below that the file system supports.
  static Outcome place(const Directory& directory, const std::string& from, const std::string& to);

  /// Renames in one step that fails if the name is taken.
  static Outcome byRename(const Directory& directory, const std::string& from,
                          const std::string& to);

  /// Makes a second name for the file, which fails if that is taken, then removes the first. The
  /// file counts as placed even if the first name cannot be removed.
  static Outcome byLink(const Directory& directory, const std::string& from, const std::string& to);

  /// Makes an empty file under the name, which fails if it is taken, and renames over that. It is
  /// the last resort: a crash in between leaves the empty file.
  static Outcome byClaim(const Directory& directory, const std::string& from,
                         const std::string& to);
};

/// The hidden file that an upload is written to. It is locked (flock) while this object lives, so
/// that another store or process can distinguish it from the left-over of a crash, which nobody
/// holds. If the file system supports no locks, nothing is treated as a left-over.
///
/// Blocks as long as the disk does. `hasName` and `removeName` can be called from any thread, the
/// rest from one at a time.
class PartialFile {
 public:
  /// Makes the file; replaces a left-over of that name. Returns nullopt if the name is taken: by a
  /// file that is held, or by anything else that is not a left-over. Throws std::system_error.
  static std::optional<PartialFile> create(std::shared_ptr<const Directory> directory,
                                           const std::string& name);

  /// Removes a file that nobody holds; returns true if it is gone. Anything else, such as a link or
  /// a folder, stays. Throws std::system_error.
  static bool removeLeftOver(const Directory& directory, const std::string& name);

  /// Returns whether a name in the folder refers to this file. Others may have removed the file or
  /// put another in its place. Throws std::system_error.
  bool hasName(const std::string& name) const;

  /// Removes a name if it refers to this file; returns true if it no longer does. Never throws.
  bool removeName(const std::string& name) const noexcept;

  /// Writes all of `bytes`. Throws std::system_error.
  void append(std::span<const std::uint8_t> bytes);

  /// Returns once every byte would survive a power cut, and ends the writing. The lock stays.
  /// Throws std::system_error.
  void finish();

 private:
  PartialFile(std::shared_ptr<const Directory> directory, UniqueFd file);

  void startWriteback(std::int64_t count);

  std::shared_ptr<const Directory> directory_;
  UniqueFd file_;
  UniqueFd lock_;              ///< the same open file: its lock lasts until both are closed
  std::int64_t written_ = 0;   ///< bytes
  std::int64_t onItsWay_ = 0;  ///< the part whose writeback was requested
};

}  // namespace tarvinel
