#pragma once

#include "app/menu/MenuItem.h"
#include "app/model/AppModel.h"
#include "app/platform/Desktop.h"

#include <vector>

namespace tarvinel {

/// The presenter's menu: builds the list of items from the model's state and performs their
/// commands. It has no state of its own. Lives on the main queue; the model and the desktop outlive
/// it.
class MenuView {
 public:
  MenuView(AppModel& model, Desktop& desktop) : model_(model), desktop_(desktop) {}

  /// Returns the menu for the current state, top to bottom.
  std::vector<MenuItem> items() const;

  /// Performs an item's command. Ignores a command that is no longer possible.
  void perform(const MenuCommand& command);

 private:
  std::vector<MenuItem> stateItems() const;
  std::vector<MenuItem> addressItems() const;
  std::vector<MenuItem> problemItems() const;
  std::vector<MenuItem> sourceItems() const;
  MenuItem sharingButton() const;
  std::vector<MenuItem> uploadItems() const;
  std::vector<MenuItem> programItems() const;

  AppModel& model_;
  Desktop& desktop_;
};

}  // namespace tarvinel
