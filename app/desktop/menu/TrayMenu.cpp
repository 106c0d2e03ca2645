#include "app/desktop/menu/TrayMenu.h"

#include <QAction>
#include <QActionGroup>
#include <QScreen>

#include <utility>

namespace tarvinel {

namespace {

using Kind = MenuItem::Kind;

bool isCheckable(const MenuItem& item) {
  return item.kind == Kind::toggle || item.kind == Kind::choice;
}

}  // namespace

/// An item as an action of the menu.
class TrayMenu::Entry {
 public:
  Entry(const MenuItem& item, MenuDrawer drawer, const Perform& perform) : drawer_(drawer) {
    if (item.kind == Kind::submenu) {
      submenu_ = std::make_unique<TrayMenu>(drawer, perform);
    } else {
      own_ = std::make_unique<QAction>();
      // the model decides what is on: this undoes the toolkit's own change
      QObject::connect(own_.get(), &QAction::triggered, own_.get(), [this, perform] {
        showState();
        perform(item_.command);
      });
    }
    if (item.kind == Kind::choice) oneOfMany();
    show(item);
  }

  QAction* action() { return submenu_ ? submenu_->menu().menuAction() : own_.get(); }

  void show(const MenuItem& item) {
    item_ = item;
    action()->setSeparator(item.kind == Kind::divider);
    action()->setText(menuLabel(item, drawer_));
    action()->setEnabled(item.isEnabled);
    action()->setShortcut(menuShortcut(item));
    if (submenu_) submenu_->draw(item.items);
    showState();
  }

 private:
  void showState() {
    action()->setCheckable(isCheckable(item_));
    action()->setChecked(item_.isOn);
  }

  /// Draws the action as an exclusive choice by a group of its own; the model decides which choice
  /// is on.
  void oneOfMany() {
    group_ = std::make_unique<QActionGroup>(nullptr);
    group_->setExclusionPolicy(QActionGroup::ExclusionPolicy::ExclusiveOptional);
    group_->addAction(own_.get());
  }

  const MenuDrawer drawer_;
  MenuItem item_;
  std::unique_ptr<QActionGroup> group_;
  std::unique_ptr<QAction> own_;       ///< null for a submenu
  std::unique_ptr<TrayMenu> submenu_;  ///< null for any other item
};

TrayMenu::TrayMenu(MenuDrawer drawer, Perform perform)
    : drawer_(drawer),
      perform_(std::move(perform)),
      items_([this](std::size_t index, const MenuItem& item) { return insert(index, item); }) {}

TrayMenu::~TrayMenu() = default;

void TrayMenu::draw(const std::vector<MenuItem>& items) {
  if (items_.draw(items) && menu_.isVisible()) keepOnScreen();
}

/// Keeps the menu on the screen: one that opened upwards from a panel grows downwards.
void TrayMenu::keepOnScreen() {
  const int below = menu_.geometry().bottom() - menu_.screen()->availableGeometry().bottom();
  if (below > 0) menu_.move(menu_.x(), menu_.y() - below);
}

std::unique_ptr<TrayMenu::Entry> TrayMenu::insert(std::size_t index, const MenuItem& item) {
  const auto& entries = items_.parts();
  auto entry = std::make_unique<Entry>(item, drawer_, perform_);
  menu_.insertAction(index < entries.size() ? entries[index]->action() : nullptr, entry->action());
  return entry;
}

}  // namespace tarvinel
