#pragma once

#include "core/support/Directory.h"
#include "core/support/Log.h"
#include "core/uploads/PartialFile.h"

#include <sys/types.h>

#include <cstdint>
#include <filesystem>
#include <map>
#include <memory>
#include <mutex>
#include <optional>
#include <set>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

namespace tarvinel {

/// The error of an upload folder that cannot store a file. The presenter is shown its text.
class UploadStoreError : public std::runtime_error {
 public:
  enum class Case : std::uint8_t { pathEscapesRoot, collisionExhausted, rootUnavailable };

  static UploadStoreError pathEscapesRoot(const std::filesystem::path& path);
  static UploadStoreError collisionExhausted(const std::string& name);
  static UploadStoreError rootUnavailable(const std::filesystem::path& path);

  Case kind() const { return kind_; }

 private:
  UploadStoreError(Case kind, const std::string& text) : std::runtime_error(text), kind_(kind) {}

  Case kind_;
};

/// The upload folder: reserves names before a file arrives, renames a complete partial file to its
/// final name without ever overwriting anything, and counts.
///
/// Safe from any thread. All but `stats` and `problem` block as long as the disk does; these never
/// wait for the disk, since the server's and the main queue read them.
class UploadStore {
 public:
  /// A name that is given to no other upload until it is committed or aborted.
  struct Reservation {
    std::string participant;
    std::shared_ptr<const Directory> directory;  ///< holds the final and the partial file
    std::string baseName;                        ///< before any suffix
    std::string finalName;
    int attempt = 1;  ///< 1: the base name, n: with the suffix "-n"

    std::string partialName() const;
    std::filesystem::path finalPath() const { return directory->path() / finalName; }
    std::filesystem::path partialPath() const { return directory->path() / partialName(); }
  };

  struct Stats {
    std::int64_t files = 0;  ///< committed, or found when the folder was opened
    std::int64_t bytes = 0;
    std::int64_t participants = 0;               ///< with at least one file
    std::optional<std::string> lastParticipant;  ///< of the newest commit of this store
    std::int64_t lastParticipantFiles = 0;

    bool operator==(const Stats&) const = default;
  };

  /// Makes the folder if it is missing, removes the left-overs of a crash and counts the files.
  /// Throws UploadStoreError.
  UploadStore(const std::filesystem::path& root, bool perParticipant, Logger logger);

  const std::filesystem::path& root() const { return root_; }

  /// Returns whether a store that was opened later has the same folder, not a replacement, and uses
  /// it in the same way.
  bool isContinuedBy(const UploadStore& later) const;

  /// Removes the left-overs of crashes on other days if each day has an upload folder of its own.
  /// Can take long if there are many.
  void removeLeftOversOfOtherDays();

  /// Takes a label and a file name from UploadNaming. Skips names before `firstAttempt`. Throws
  /// UploadStoreError or std::system_error.
  Reservation reserve(const std::string& participant, const std::string& filename,
                      int firstAttempt = 1);

  /// Releases the name of a reservation that no file was made for.
  void release(const Reservation& reservation);

  /// Renames the finished partial file to its final name, or the next free one if another file has
  /// that by now; returns its path once the name would survive a power cut. Throws UploadStoreError
  /// or std::system_error, also if the partial file was removed or replaced; the file is then not
  /// visible, and still to be removed by `abort`. If it became visible and cannot be removed, it
  /// counts.
  std::filesystem::path commit(const Reservation& reservation, const PartialFile& file,
                               std::int64_t bytes);

  /// Removes the partial file, unless another has its name by now, and releases the name. Never
  /// throws.
  void abort(const Reservation& reservation, const PartialFile& file) noexcept;

  /// Returns the bytes that can still be written, or nullopt if that is unknown.
  std::optional<std::int64_t> freeSpace();

  Stats stats() const;

  /// Returns why the folder was unusable when an upload last needed it, or nullopt.
  std::optional<std::string> problem() const;

 private:
  Directory openRoot();
  void noteProblem(const std::optional<std::string>& problem);
  Directory directoryOf(const std::string& participant);
  void requireInsideRoot(const std::filesystem::path& directory, const std::string& name) const;
  bool isFree(const Directory& directory, const std::string& name) const;
  std::string place(const Reservation& reservation, const PartialFile& file);
  void recordCommit(const std::string& participant, std::int64_t bytes);

  std::filesystem::path root_;  ///< without symbolic links; fixed
  const bool perParticipant_;
  std::pair<dev_t, ino_t> identity_;  ///< of the folder when it was opened; fixed
  const Logger logger_;

  std::mutex namesMutex_;                          ///< held during disk operations
  std::set<std::filesystem::path> reservedPaths_;  // guarded by namesMutex_

  mutable std::mutex statsMutex_;       ///< never held during disk operations
  Stats stats_;                         // guarded by statsMutex_
  std::optional<std::string> problem_;  // guarded by statsMutex_
  std::map<std::string, std::int64_t> participantFileCounts_;  // guarded by statsMutex_
};

/// The stores of one run, so that a folder that is opened again continues its counts: uploads in
/// progress still end in the store that named them.
///
/// Not safe for concurrent use.
class UploadStores {
 public:
  explicit UploadStores(Logger logger) : logger_(std::move(logger)) {}

  /// Opens a folder like a new store, but returns the store that it had before if it is still the
  /// same folder used in the same way. Blocks as long as the disk does. Throws UploadStoreError.
  std::shared_ptr<UploadStore> open(const std::filesystem::path& root, bool perParticipant);

 private:
  std::shared_ptr<UploadStore> storeBefore(const UploadStore& opened) const;

  const Logger logger_;
  std::vector<std::shared_ptr<UploadStore>> stores_;  ///< the newest last
};

}  // namespace tarvinel
