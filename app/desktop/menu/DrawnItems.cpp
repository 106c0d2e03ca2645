#include "app/desktop/menu/DrawnItems.h"

#include <algorithm>

namespace tarvinel {

namespace {

/// Returns an item's purpose, independent of its label: one button starts and stops sharing.
MenuCommand::Action purposeOf(const MenuItem& item) {
  const auto action = item.command.action;
  return action == MenuCommand::Action::stopSharing ? MenuCommand::Action::startSharing : action;
}

/// Returns whether one item can replace the other in place.
bool canBecome(const MenuItem& before, const MenuItem& after) {
  if (before.kind != after.kind || purposeOf(before) != purposeOf(after)) return false;
  if (after.kind == MenuItem::Kind::submenu) return before.label == after.label;
  if (after.kind == MenuItem::Kind::choice) return before.command == after.command;
  return true;
}

/// The lengths of the longest common subsequences, for the rest of both lists from each pair of
/// items on.
class StayingLengths {
 public:
  StayingLengths(const std::vector<MenuItem>& before, const std::vector<MenuItem>& after)
      : width_(after.size() + 1), lengths_((before.size() + 1) * width_) {
    for (std::size_t i = before.size(); i-- > 0;) {
      for (std::size_t j = after.size(); j-- > 0;) {
        lengths_[i * width_ + j] = canBecome(before[i], after[j])
                                       ? 1 + at(i + 1, j + 1)
                                       : std::max(at(i + 1, j), at(i, j + 1));
      }
    }
  }

  std::size_t at(std::size_t i, std::size_t j) const { return lengths_[i * width_ + j]; }

 private:
  const std::size_t width_;
  std::vector<std::size_t> lengths_;
};

}  // namespace

std::vector<MenuEdit> menuEdits(const std::vector<MenuItem>& before,
                                const std::vector<MenuItem>& after) {
  const StayingLengths staying(before, after);
  std::vector<MenuEdit> edits;
  std::size_t i = 0;
  std::size_t j = 0;
  while (i < before.size() || j < after.size()) {
    if (i < before.size() && j < after.size() && canBecome(before[i], after[j])) {
      if (before[i] != after[j]) edits.push_back({MenuEdit::Kind::change, j, after[j]});
      ++i;
      ++j;
    } else if (j < after.size() &&
               (i == before.size() || staying.at(i, j + 1) >= staying.at(i + 1, j))) {
      edits.push_back({MenuEdit::Kind::insert, j, after[j]});
      ++j;
    } else {
      edits.push_back({MenuEdit::Kind::remove, j, {}});
      ++i;
    }
  }
  return edits;
}

}  // namespace tarvinel
