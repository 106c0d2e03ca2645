#pragma once

#include "core/support/Directory.h"

#include <cstdint>
#include <map>
#include <string>
#include <string_view>

namespace tarvinel {

/// The contents of an upload folder: counts of visible files, without hidden ones.
struct UploadFolderCount {
  std::int64_t files = 0;
  std::int64_t bytes = 0;
  std::map<std::string, std::int64_t> perParticipant;  ///< files; empty in a flat folder

  bool operator==(const UploadFolderCount&) const = default;
};

/// Counts what earlier runs left in an upload folder: the files in its sub-folders, one for each
/// participant, or in a flat folder the files in it, whose participants are unknown. Ignores what
/// cannot be listed. Blocks as long as the disk does.
UploadFolderCount countUploads(const Directory& root, bool perParticipant);

/// Removes the partial files that nobody holds. Touches nothing else, and reports nothing.
void removeLeftOvers(const Directory& root, bool perParticipant);

/// The folder in which each day has an upload folder of its own, unless the presenter chose
/// another.
inline constexpr std::string_view folderOfDays = "Tarvinel Uploads";

/// Does the same in the folders of the other days if the root is the folder of a day. Blocks as
/// long as the disk takes for many folders.
void removeLeftOversOfOtherDays(const Directory& root);

}  // namespace tarvinel
