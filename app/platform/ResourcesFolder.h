#pragma once

#include <filesystem>
#include <optional>

namespace tarvinel {

/// The folder of the program's read-only files: "share/tarvinel" under the prefix that the program
/// is installed in, "resources" of the sources in a build tree. Nothing when there is none.
std::optional<std::filesystem::path> resourcesFolder();

/// The same for a program of that path.
std::optional<std::filesystem::path> resourcesFolderOf(const std::filesystem::path& program);

}  // namespace tarvinel
