#pragma once

#include "core/support/Directory.h"
#include "core/support/UniqueFd.h"

#include <cstdint>
#include <memory>
#include <optional>
#include <span>
#include <string>

namespace tarvinel {

/// Ways to give a file in a folder another name there without ever replacing what has that name.
/// Static; each blocks as long as the disk does and throws std::system_error when it fails.
class Placement {
 public:
  Placement() = delete;

  enum class Outcome : std::uint8_t {
    placed,
    nameTaken,     ///< nothing was changed
    notSupported,  ///< the file system has no such operation; nothing was changed
  };

  using Strategy = Outcome (*)(const Directory&, const std::string& from, const std::string& to);

  /// The first of the roads below that the file system supports.
  static Outcome place(const Directory& directory, const std::string& from, const std::string& to);

  /// One rename that fails when the name is taken.
  static Outcome byRename(const Directory& directory, const std::string& from,
                          const std::string& to);

  /// A second name for the file, which fails when that is taken, before the first one goes. The
  /// file is placed also when that cannot be removed.
  static Outcome byLink(const Directory& directory, const std::string& from, const std::string& to);

  /// Makes an empty file under the name, which fails when it is taken, and renames over that. The
  /// last resort: a crash in between leaves the empty file.
  static Outcome byClaim(const Directory& directory, const std::string& from,
                         const std::string& to);
};

/// The hidden file that an upload is written into. It is locked (flock) for as long as this object
/// lives, so that another store or another process can tell it from the left-over of a crash, which
/// nobody holds. Where the file system knows no locks, nothing is taken for a left-over.
///
/// Blocks as long as the disk does. `hasName` and `removeName` may be called from any thread, the
/// rest from one at a time.
class PartialFile {
 public:
  /// Makes the file; a left-over under its name gives way. Returns nothing when the name is taken:
  /// by a file that is held, or by anything else that is no left-over. Throws std::system_error.
  static std::optional<PartialFile> create(std::shared_ptr<const Directory> directory,
                                           const std::string& name);

  /// Removes a file that nobody holds; true when it is gone. Anything else, such as a link or a
  /// folder, stays. Throws std::system_error.
  static bool removeLeftOver(const Directory& directory, const std::string& name);

  /// Whether a name in the folder stands for this file. Others may have removed the file or put
  /// another in its place. Throws std::system_error.
  bool hasName(const std::string& name) const;

  /// Removes a name, if it stands for this file; true when it does so no longer. Never throws.
  bool removeName(const std::string& name) const noexcept;

  /// Writes all of it. Throws std::system_error.
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
  std::int64_t onItsWay_ = 0;  ///< of these, bytes that the kernel was told to write out
};

}  // namespace tarvinel
