#include "app/platform/ResourcesFolder.h"

#include <system_error>

namespace tarvinel {

namespace {

using std::filesystem::path;

/// Returns the source folder for a program at "<sources>/build/<preset>/app/<program>".
std::optional<path> sourcesOf(const path& program) {
  const path build = program.parent_path().parent_path().parent_path();
  if (build.filename() != "build") return std::nullopt;
  return build.parent_path();
}

std::optional<path> ifFolder(const path& candidate) {
  std::error_code unreachable;
  if (!std::filesystem::is_directory(candidate, unreachable)) return std::nullopt;
  return candidate;
}

}  // namespace

std::optional<path> resourcesFolder() {
  std::error_code unreadable;
  return resourcesFolderOf(std::filesystem::read_symlink("/proc/self/exe", unreadable));
}

std::optional<path> resourcesFolderOf(const path& program) {
  const path prefix = program.parent_path().parent_path();
  if (auto installed = ifFolder(prefix / "share/tarvinel")) return installed;
  const auto sources = sourcesOf(program);
  return sources ? ifFolder(*sources / "resources") : std::nullopt;
}

}  // namespace tarvinel
