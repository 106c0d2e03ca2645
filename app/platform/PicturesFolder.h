#pragma once

#include <ctime>
#include <filesystem>
#include <optional>
#include <string_view>

namespace tarvinel {

/// The user's folder for pictures, as the desktop's "user-dirs.dirs" names it, else "Pictures" in
/// the home.
std::filesystem::path picturesFolder();

/// The folder that the content of "user-dirs.dirs" names; nothing when it names none or, which
/// means the same there, the home itself.
std::optional<std::filesystem::path> picturesFolderIn(std::string_view userDirs,
                                                      const std::filesystem::path& home);

/// Where uploads go unless the presenter chooses otherwise: a folder for the local day of `now`.
std::filesystem::path defaultUploadFolder(std::time_t now);

}  // namespace tarvinel
