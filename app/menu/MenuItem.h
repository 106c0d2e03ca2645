#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace tarvinel {

/// The action of a menu item. Plain value.
struct MenuCommand {
  enum class Action : std::uint8_t {
    none,
    copy,  ///< copies the argument to the clipboard
    openPrivacySettings,
    selectSource,  ///< the argument is the source's identifier
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

/// One item of the menu, independent of the view that draws it. Plain value: a menu has changed if
/// its items differ.
struct MenuItem {
  enum class Kind : std::uint8_t {
    text,     ///< read-only text
    title,    ///< heading of a section of a submenu
    button,   ///< performs its command
    toggle,   ///< is on or off; its command switches it
    choice,   ///< one of a submenu's exclusive choices, of which at most one is on
    submenu,  ///< opens its items
    divider,
  };

  /// A shortcut is pressed together with Control.
  static constexpr char noShortcut = '\0';

  Kind kind = Kind::text;
  std::string label = {};
  MenuCommand command = {};
  bool isEnabled = true;
  bool isOn = false;           ///< for a toggle or a choice
  char shortcut = noShortcut;  ///< a capital letter
  std::vector<MenuItem> items = {};

  bool operator==(const MenuItem&) const = default;

  static MenuItem text(std::string label);
  static MenuItem title(std::string label);
  static MenuItem button(std::string label, MenuCommand command, bool isEnabled = true,
                         char shortcut = noShortcut);
  static MenuItem toggle(std::string label, MenuCommand command, bool isOn, bool isEnabled = true);
  static MenuItem choice(std::string label, MenuCommand command, bool isOn);
  static MenuItem submenu(std::string label, std::vector<MenuItem> items);
  static MenuItem divider();
};

}  // namespace tarvinel
