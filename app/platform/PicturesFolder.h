#pragma once

#include <ctime>
#include <filesystem>
#include <optional>
#include <string_view>

namespace tarvinel {

/// Returns the user's folder for pictures that the desktop's "user-dirs.dirs" names, else
/// "Pictures" in the home folder.
std::filesystem::path picturesFolder();

/// Returns the folder that the content of "user-dirs.dirs" names, or nullopt if it names none or
/// the home folder, which means the same there.
std::optional<std::filesystem::path> picturesFolderIn(std::string_view userDirs,
                                                      const std::filesystem::path& home);

/// Returns the default folder for uploads, whose name contains the local date of `now`.
std::filesystem::path defaultUploadFolder(std::time_t now);

}  // namespace tarvinel
