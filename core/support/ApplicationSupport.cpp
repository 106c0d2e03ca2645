#include "core/support/ApplicationSupport.h"

#include "core/support/HomeFolder.h"

#include <cstdlib>
#include <system_error>

namespace tarvinel {

namespace {

bool hasConfiguration(const std::filesystem::path& folder) {
  std::error_code unreachable;
  return std::filesystem::exists(folder / "Tarvinel/config.json", unreachable);
}

/// The base directory specification calls a relative path invalid and wants it ignored.
std::optional<std::filesystem::path> absolutePath(const char* variable) {
  const char* value = std::getenv(variable);
  if (value == nullptr || *value != '/') return std::nullopt;
  return value;
}

}  // namespace

SupportEnvironment SupportEnvironment::current() {
  return {homeFolder(), absolutePath("XDG_CONFIG_HOME")};
}

std::filesystem::path cacheFolder() {
  return absolutePath("XDG_CACHE_HOME").value_or(homeFolder() / ".cache");
}

std::filesystem::path applicationSupportFolder(const SupportEnvironment& environment) {
  auto configHome = environment.configFolder();
  auto library = environment.home / "Library/Application Support";
  if (hasConfiguration(configHome)) return configHome;
  if (hasConfiguration(library)) return library;
  return environment.configHome ? configHome : library;
}

std::filesystem::path preferencesFolder(const SupportEnvironment& environment) {
  auto folder = applicationSupportFolder(environment);
  return hasConfiguration(folder) ? folder : environment.configFolder();
}

}  // namespace tarvinel
