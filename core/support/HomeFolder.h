#pragma once

#include <filesystem>
#include <string>
#include <string_view>

namespace tarvinel {

/// The current user's home: $HOME, else what the user database says, else "/".
std::filesystem::path homeFolder();

/// The path with a leading tilde replaced as a shell does: "~" and "~/x" by the current user's
/// home, "~name" and "~name/x" by that user's. The home of a user who does not exist stays as it
/// is.
std::string expandingTilde(std::string_view path);

}  // namespace tarvinel
