#pragma once

#include "app/menu/MenuItem.h"
#include "app/model/AppModel.h"
#include "app/platform/Desktop.h"

#include <vector>

namespace tarvinel {

/// The presenter's menu: a list of items made of the model's state, and what choosing one does. It
/// keeps no state of its own. Lives on the main queue; the model and the desktop outlive it.
class MenuView {
 public:
  MenuView(AppModel& model, Desktop& desktop) : model_(model), desktop_(desktop) {}

  /// The menu as it should be shown now, top to bottom.
  std::vector<MenuItem> items() const;

  /// Does what an item says. A command that can no longer be done does nothing.
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
