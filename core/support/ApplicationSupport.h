#pragma once

#include <filesystem>
#include <optional>
#include <string>
#include <string_view>

namespace tarvinel {

/// Returns the current user's home: $HOME, else the user database's entry, else "/".
std::filesystem::path homeFolder();

/// Returns the path with a leading tilde replaced as a shell does: "~" and "~/x" by the current
/// user's home, "~name" and "~name/x" by that user's. Leaves the tilde if there is no such user.
std::string expandingTilde(std::string_view path);

/// The environment that determines where a user's settings are.
struct SupportEnvironment {
  std::filesystem::path home;
  std::optional<std::filesystem::path>
      configHome;  ///< $XDG_CONFIG_HOME when it is an absolute path

  /// Returns the environment of this process.
  static SupportEnvironment current();

  /// Returns the folder for settings of desktop programs: $XDG_CONFIG_HOME, or ~/.config if unset.
  std::filesystem::path configFolder() const { return configHome.value_or(home / ".config"); }
};

/// Returns the folder for data that programs can restore: $XDG_CACHE_HOME if it is an absolute
/// path, else ~/.cache. Creates nothing.
std::filesystem::path cacheFolder();

/// Returns the folder of "Tarvinel/config.json": the first of $XDG_CONFIG_HOME (~/.config if unset)
/// and ~/Library/Application Support that has one. If neither has: $XDG_CONFIG_HOME if it is set,
/// else the latter. Creates nothing.
std::filesystem::path applicationSupportFolder(const SupportEnvironment& environment);

/// Returns the folder of "Tarvinel/preferences.json": the one above if it has a
/// "Tarvinel/config.json", else $XDG_CONFIG_HOME (~/.config if unset). Creates nothing.
std::filesystem::path preferencesFolder(const SupportEnvironment& environment);

}  // namespace tarvinel
