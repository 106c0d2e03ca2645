#include "app/platform/PicturesFolder.h"

#include "core/support/ASCII.h"
#include "core/support/ApplicationSupport.h"
#include "core/support/Bytes.h"
#include "core/support/RegularFile.h"
#include "core/uploads/UploadFolderScan.h"

#include <fmt/chrono.h>

#include <string>

namespace tarvinel {

namespace {

constexpr std::size_t maxDirectoriesFileBytes = std::size_t{1} << 16U;

/// Returns the text between the quotes of the last line `XDG_PICTURES_DIR="..."`.
std::optional<std::string_view> quotedValue(std::string_view userDirs) {
  constexpr std::string_view assignment = "XDG_PICTURES_DIR=\"";
  std::optional<std::string_view> value;
  while (!userDirs.empty()) {
    const auto end = userDirs.find('\n');
    std::string_view line = trimmed(userDirs.substr(0, end));
    userDirs.remove_prefix(end == std::string_view::npos ? userDirs.size() : end + 1);
    if (!line.starts_with(assignment) || !line.ends_with('"')) continue;
    line.remove_prefix(assignment.size());
    if (!line.empty()) value = line.substr(0, line.size() - 1);
  }
  return value;
}

std::string withoutBackslashes(std::string_view quoted) {
  std::string text;
  for (std::size_t i = 0; i < quoted.size(); ++i) {
    if (quoted[i] == '\\' && i + 1 < quoted.size()) ++i;
    text += quoted[i];
  }
  return text;
}

std::string contentOf(const std::filesystem::path& file) {
  try {
    return std::string(textOf(readRegularFile(file, maxDirectoriesFileBytes)));
  } catch (const FileReadError&) {
    return {};
  }
}

}  // namespace

std::optional<std::filesystem::path> picturesFolderIn(std::string_view userDirs,
                                                      const std::filesystem::path& home) {
  constexpr std::string_view homeVariable = "$HOME";
  auto value = quotedValue(userDirs);
  if (!value) return std::nullopt;
  if (!value->starts_with(homeVariable)) {
    if (!value->starts_with('/')) return std::nullopt;
    return withoutBackslashes(*value);
  }
  value->remove_prefix(homeVariable.size());
  const auto firstOfName = value->find_first_not_of('/');
  if (!value->starts_with('/') || firstOfName == std::string_view::npos) return std::nullopt;
  return home / withoutBackslashes(value->substr(firstOfName));
}

std::filesystem::path picturesFolder() {
  const auto environment = SupportEnvironment::current();
  const auto configHome = environment.configHome.value_or(environment.home / ".config");
  return picturesFolderIn(contentOf(configHome / "user-dirs.dirs"), environment.home)
      .value_or(environment.home / "Pictures");
}

std::filesystem::path defaultUploadFolder(std::time_t now) {
  return picturesFolder() / folderOfDays / fmt::format("{:%Y-%m-%d}", fmt::localtime(now));
}

}  // namespace tarvinel
