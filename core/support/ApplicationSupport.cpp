#include "core/support/ApplicationSupport.h"

#include <pwd.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <optional>
#include <system_error>
#include <vector>

namespace tarvinel {

namespace {

bool hasConfiguration(const std::filesystem::path& folder) {
  std::error_code unreachable;
  return std::filesystem::exists(folder / "Tarvinel/config.json", unreachable);
}

/// The base directory specification requires that relative paths are ignored as invalid.
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

namespace {

constexpr std::size_t firstBufferBytes = 4096;
constexpr std::size_t maxBufferBytes = std::size_t{1} << 20;

/// Returns the home in the user database's entry that `find(entry, buffer, size, result)` looks up.
template <class Find>
std::optional<std::string> homeInDatabase(const Find& find) {
  for (std::vector<char> buffer(firstBufferBytes); buffer.size() <= maxBufferBytes;
       buffer.resize(buffer.size() * 2)) {
    passwd entry{};
    passwd* found = nullptr;
    const int error = find(&entry, buffer.data(), buffer.size(), &found);
    if (error == ERANGE) continue;
    if (error != 0 || found == nullptr || found->pw_dir == nullptr) return std::nullopt;
    return std::string(found->pw_dir);
  }
  return std::nullopt;
}

std::optional<std::string> homeOf(const std::string& user) {
  if (user.find('\0') != std::string::npos) return std::nullopt;
  return homeInDatabase([&user](auto... entry) { return getpwnam_r(user.c_str(), entry...); });
}

}  // namespace

std::filesystem::path homeFolder() {
  const char* home = std::getenv("HOME");
  if (home != nullptr && *home != '\0') return home;
  return homeInDatabase([](auto... entry) { return getpwuid_r(getuid(), entry...); }).value_or("/");
}

std::string expandingTilde(std::string_view path) {
  if (!path.starts_with('~')) return std::string(path);
  const std::string user(path.substr(1, path.find('/') - 1));
  const auto home = user.empty() ? homeFolder().native() : homeOf(user);
  if (!home) return std::string(path);
  return *home + std::string(path.substr(1 + user.size()));
}

}  // namespace tarvinel
