#pragma once

#include "core/support/Directory.h"

#include <cstdint>
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

  using Road = Outcome (*)(const Directory&, const std::string& from, const std::string& to);

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

}  // namespace tarvinel
