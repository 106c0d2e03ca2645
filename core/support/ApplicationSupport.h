#pragma once

#include <filesystem>
#include <optional>
#include <string>
#include <string_view>

namespace tarvinel {

/// The current user's home: $HOME, else what the user database says, else "/".
std::filesystem::path homeFolder();

/// The path with a leading tilde replaced as a shell does: "~" and "~/x" by the current user's
/// home, "~name" and "~name/x" by that user's. The home of a user who does not exist stays as it
/// is.
std::string expandingTilde(std::string_view path);

/// What decides where a user's settings lie.
struct SupportEnvironment {
  std::filesystem::path home;
  std::optional<std::filesystem::path>
      configHome;  ///< $XDG_CONFIG_HOME when it is an absolute path

  /// Of this process.
  static SupportEnvironment current();

  /// Where a desktop's programs keep settings: $XDG_CONFIG_HOME, ~/.config unless that is set.
  std::filesystem::path configFolder() const { return configHome.value_or(home / ".config"); }
};

/// Where a desktop's programs keep what they can make again: $XDG_CACHE_HOME when it is an absolute
/// path, else ~/.cache. Creates nothing.
std::filesystem::path cacheFolder();

/// The folder that holds "Tarvinel/config.json": the first of $XDG_CONFIG_HOME (~/.config unless
/// set) and ~/Library/Application Support that has one. When none has: $XDG_CONFIG_HOME if it is
/// set, else the latter. Creates nothing.
std::filesystem::path applicationSupportFolder(const SupportEnvironment& environment);

/// The folder that holds "Tarvinel/preferences.json": the one above where there is a
/// "Tarvinel/config.json", else $XDG_CONFIG_HOME (~/.config unless set). Creates nothing.
std::filesystem::path preferencesFolder(const SupportEnvironment& environment);

}  // namespace tarvinel
