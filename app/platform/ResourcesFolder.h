#pragma once

#include <filesystem>
#include <optional>

namespace tarvinel {

/// Returns the folder of the program's read-only files: "share/tarvinel" below the prefix where the
/// program is installed, "resources" of the sources in a build tree; nullopt if it does not exist.
std::optional<std::filesystem::path> resourcesFolder();

/// Returns the same for the program at this path.
std::optional<std::filesystem::path> resourcesFolderOf(const std::filesystem::path& program);

}  // namespace tarvinel
