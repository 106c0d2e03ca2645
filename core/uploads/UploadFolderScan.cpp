#include "core/uploads/UploadFolderScan.h"

#include "core/support/Result.h"
#include "core/uploads/PartialFile.h"
#include "core/uploads/UploadNaming.h"

#include <algorithm>
#include <system_error>
#include <vector>

namespace tarvinel {

namespace {

std::vector<Directory::Entry> entriesOrNone(const Directory& directory) {
  try {
    return directory.entries();
  } catch (const std::system_error&) {
    return {};
  }
}

bool isHidden(const Directory::Entry& entry) {
  return entry.name.starts_with('.');
}

/// Returns whether a name is a date such as "2026-11-15".
bool isDay(std::string_view name) {
  constexpr std::string_view pattern = "0000-00-00";
  return std::ranges::equal(name, pattern, [](char character, char expected) {
    return expected == '0' ? character >= '0' && character <= '9' : character == expected;
  });
}

/// Calls `visit` with each visible folder in another one.
template <class Visit>
void forEachFolder(const Directory& directory, Visit visit) {
  for (const Directory::Entry& entry : entriesOrNone(directory)) {
    if (!entry.isDirectory || isHidden(entry)) continue;
    try {
      visit(directory.subdirectory(entry.name), entry.name);
    } catch (const std::system_error&) {  // removed meanwhile, or not permitted
    }
  }
}

/// Returns the size in bytes, or 0 if it is unknown.
std::int64_t sizeOf(const Directory& directory, const Directory::Entry& entry) {
  try {
    const auto status = directory.find(entry.name);
    return status ? status->st_size : 0;
  } catch (const std::system_error&) {
    return 0;
  }
}

/// Adds the files directly in a folder; returns how many.
std::int64_t addFiles(const Directory& directory, UploadFolderCount& count) {
  std::int64_t files = 0;
  for (const Directory::Entry& entry : entriesOrNone(directory)) {
    if (entry.isDirectory || isHidden(entry)) continue;
    ++files;
    count.bytes += sizeOf(directory, entry);
  }
  count.files += files;
  return files;
}

void removeLeftOversIn(const Directory& directory) {
  for (const Directory::Entry& entry : entriesOrNone(directory)) {
    if (!entry.isRegularFile || !UploadNaming::isPartialName(entry.name)) continue;
    try {
      PartialFile::removeLeftOver(directory, entry.name);
    } catch (const std::system_error&) {  // it is replaced when its name is needed
    }
  }
}

}  // namespace

UploadFolderCount countUploads(const Directory& root, bool perParticipant) {
  UploadFolderCount count;
  if (!perParticipant) {
    addFiles(root, count);
    return count;
  }
  forEachFolder(root, [&count](const Directory& directory, const std::string& participant) {
    const std::int64_t files = addFiles(directory, count);
    if (files > 0) count.perParticipant[participant] = files;
  });
  return count;
}

void removeLeftOvers(const Directory& root, bool perParticipant) {
  removeLeftOversIn(root);
  if (!perParticipant) return;
  forEachFolder(root, [](const Directory& directory, const std::string& /*participant*/) {
    removeLeftOversIn(directory);
  });
}

void removeLeftOversOfOtherDays(const Directory& root) {
  const auto days = root.path().parent_path();
  const std::string today = root.path().filename();
  if (!isDay(today) || days.filename() != folderOfDays) return;
  const auto directory = resultOf([&] { return Directory::open(days); });
  if (!directory.ok()) return;
  forEachFolder(directory.value(), [&today](const Directory& day, const std::string& name) {
    if (isDay(name) && name != today) removeLeftOvers(day, true);
  });
}

}  // namespace tarvinel
