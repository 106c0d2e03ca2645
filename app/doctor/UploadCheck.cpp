#include "app/doctor/UploadCheck.h"

#include "app/platform/PicturesFolder.h"
#include "app/platform/UserDefaults.h"
#include "core/support/Log.h"
#include "core/uploads/UploadController.h"

#include <fcntl.h>
#include <fmt/format.h>
#include <unistd.h>

#include <ctime>
#include <system_error>

namespace tarvinel {

namespace {

namespace fs = std::filesystem;
using Folder = UploadFacts::Folder;

fs::path folderFor(const CommandLineOptions& options) {
  if (options.uploadFolder) return fs::absolute(*options.uploadFolder);
  const UserDefaults chosen(UserDefaults::defaultPlace(), Log::silent().category("app"));
  return chosen.text(UserDefaults::uploadFolder).value_or(defaultUploadFolder(std::time(nullptr)));
}

/// The folder itself, or the one above it that is there.
fs::path existingPartOf(fs::path path) {
  std::error_code unreachable;
  while (path.has_relative_path() && !fs::exists(path, unreachable))
    path = path.parent_path();
  return path;
}

Folder stateOf(const fs::path& path, const fs::path& existing) {
  std::error_code unreachable;
  if (!fs::is_directory(existing, unreachable)) return Folder::isNoFolder;
  if (::faccessat(AT_FDCWD, existing.c_str(), W_OK | X_OK, AT_EACCESS) != 0)
    return Folder::notWritable;
  return path == existing ? Folder::usable : Folder::willBeMade;
}

std::optional<std::int64_t> freeBytesAt(const fs::path& folder) {
  std::error_code error;
  const auto space = fs::space(folder, error);
  if (error) return std::nullopt;
  return static_cast<std::int64_t>(space.available);
}

std::string freeText(const std::optional<std::int64_t>& bytes) {
  if (!bytes) return "";
  return fmt::format(", {:.1f} GB free", static_cast<double>(*bytes) / 1e9);
}

}  // namespace

UploadFacts UploadFacts::of(const CommandLineOptions& options) {
  UploadFacts facts{.path = folderFor(options)};
  const fs::path existing = existingPartOf(facts.path);
  facts.folder = stateOf(facts.path, existing);
  facts.freeBytes = freeBytesAt(existing);
  return facts;
}

Findings judge(const UploadFacts& facts) {
  using enum Finding::State;
  const std::string& path = facts.path.native();
  const std::vector<std::string> choose{
      "Choose another folder in the menu, or with "
      "--upload-folder."};
  if (facts.folder == Folder::isNoFolder)
    return {{toBeMended, fmt::format("Photos cannot go to {}: that is no folder.", path), choose}};
  if (facts.folder == Folder::notWritable) {
    return {{toBeMended,
             fmt::format("Photos cannot go to {}: this user may not write there.", path), choose}};
  }
  if (facts.freeBytes && *facts.freeBytes <= UploadController::headroom) {
    return {{toBeMended,
             fmt::format("The disk of {} is too full for photos: 1.1 GB stay free.", path),
             {"Make room on it, or choose another folder in the menu or with --upload-folder."}}};
  }
  return {{fine, fmt::format("Photos go to {}{}{}.", path,
                             facts.folder == Folder::willBeMade ? ", which will be made" : "",
                             freeText(facts.freeBytes))}};
}

Finding hangingDisk() {
  return {Finding::State::toBeMended,
          "The disk of the upload folder does not answer.",
          {"Look at its connection, or choose another folder with --upload-folder."}};
}

}  // namespace tarvinel
