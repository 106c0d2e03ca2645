#pragma once

#include <cstdint>
#include <string>

namespace tarvinel {

/// What choosing an item of the menu does. Plain value.
struct MenuCommand {
  enum class Action : std::uint8_t {
    none,
    copy,  ///< the argument to the clipboard
    openPrivacySettings,
    selectSource,  ///< the argument is its identifier
    startSharing,
    stopSharing,
    toggleUploads,
    chooseUploadFolder,
    revealUploadFolder,
    toggleUploadPerParticipant,
    checkForUpdates,
    openHelp,
    quit,
  };

  Action action = Action::none;
  std::string argument = {};

  bool operator==(const MenuCommand&) const = default;
};

}  // namespace tarvinel
