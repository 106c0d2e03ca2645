#include "app/desktop/menu/DrawnItems.h"

#include <gmock/gmock.h>

#include <algorithm>
#include <bit>

namespace tarvinel {
namespace {

using Action = MenuCommand::Action;
using Kind = MenuEdit::Kind;
using testing::ElementsAre;
using testing::IsEmpty;

MenuItem button(const char* label, Action action) {
  return MenuItem::button(label, {action});
}

const MenuItem statusItem = MenuItem::text("Not sharing");
const MenuItem dividerItem = MenuItem::divider();
const MenuItem startItem = button("Start Sharing", Action::startSharing);
const MenuItem quitItem = button("Quit Tarvinel", Action::quit);

/// Returns the list after the edits.
std::vector<MenuItem> edited(std::vector<MenuItem> items, const std::vector<MenuEdit>& edits) {
  for (const MenuEdit& edit : edits) {
    const auto at = items.begin() + static_cast<std::ptrdiff_t>(edit.index);
    if (edit.kind == Kind::insert) items.insert(at, edit.item);
    if (edit.kind == Kind::remove) items.erase(at);
    if (edit.kind == Kind::change) *at = edit.item;
  }
  return items;
}

std::size_t count(const std::vector<MenuEdit>& edits, Kind kind) {
  return static_cast<std::size_t>(
      std::ranges::count_if(edits, [kind](const MenuEdit& edit) { return edit.kind == kind; }));
}

TEST(MenuEdits, AreNoneForTheSameItems) {
  EXPECT_THAT(menuEdits({statusItem, dividerItem, quitItem}, {statusItem, dividerItem, quitItem}),
              IsEmpty());
}

TEST(MenuEdits, ChangeALabelInItsPlace) {
  const MenuItem sharing = MenuItem::text("Sharing Display 1 · 3 viewers");
  EXPECT_THAT(menuEdits({statusItem, dividerItem, quitItem}, {sharing, dividerItem, quitItem}),
              ElementsAre(MenuEdit{Kind::change, 0, sharing}));
}

TEST(MenuEdits, TurnTheStartButtonIntoTheStopButton) {
  const MenuItem stop = button("Stop Sharing", Action::stopSharing);
  EXPECT_THAT(menuEdits({startItem, quitItem}, {stop, quitItem}),
              ElementsAre(MenuEdit{Kind::change, 0, stop}));
}

TEST(MenuEdits, InsertOneLineAndLeaveTheRest) {
  const MenuItem line = MenuItem::text("Wi-Fi · 8 fps");
  EXPECT_THAT(menuEdits({statusItem, dividerItem, startItem, dividerItem, quitItem},
                        {statusItem, line, dividerItem, startItem, dividerItem, quitItem}),
              ElementsAre(MenuEdit{Kind::insert, 1, line}));
}

TEST(MenuEdits, RemoveOneLineAndLeaveTheRest) {
  const MenuItem line = MenuItem::text("Wi-Fi · 8 fps");
  EXPECT_THAT(
      menuEdits({statusItem, line, dividerItem, startItem}, {statusItem, dividerItem, startItem}),
      ElementsAre(MenuEdit{Kind::remove, 1, {}}));
}

TEST(MenuEdits, KeepTheSubmenuBetweenTwoChanges) {
  const MenuItem error = MenuItem::text("Sharing stopped: gone");
  const MenuItem source = MenuItem::submenu("Source", {startItem});
  const MenuItem uploads = MenuItem::text("Uploads: 1 file");
  const auto edits = menuEdits({statusItem, error, dividerItem, source, dividerItem, quitItem},
                               {statusItem, dividerItem, source, dividerItem, uploads, quitItem});
  EXPECT_THAT(edits,
              ElementsAre(MenuEdit{Kind::remove, 1, {}}, MenuEdit{Kind::insert, 4, uploads}));
}

TEST(MenuEdits, TellSourcesApartByWhatTheyShare) {
  const auto choice = [](const char* label, const char* source, bool isOn) {
    return MenuItem::choice(label, {Action::selectSource, source}, isOn);
  };
  const MenuItem one = choice("Window", "window-1", true);
  const MenuItem two = choice("Window", "window-2", false);
  const MenuItem renamed = choice("Another title", "window-2", false);
  EXPECT_THAT(menuEdits({one, two}, {renamed}),
              ElementsAre(MenuEdit{Kind::remove, 0, {}}, MenuEdit{Kind::change, 0, renamed}));
}

TEST(MenuEdits, LeadFromAnyListToAnyOther) {
  const std::vector<MenuItem> all{statusItem,
                                  dividerItem,
                                  startItem,
                                  MenuItem::submenu("Source", {quitItem}),
                                  MenuItem::toggle("Uploads", {Action::toggleUploads}, true),
                                  quitItem};
  for (unsigned before = 0; before < 64; ++before) {
    for (unsigned after = 0; after < 64; ++after) {
      std::vector<MenuItem> from;
      std::vector<MenuItem> to;
      for (unsigned i = 0; i < 6; ++i) {
        if ((before >> i & 1U) != 0) from.push_back(all[i]);
        if ((after >> i & 1U) != 0) to.push_back(all[i]);
      }
      const auto edits = menuEdits(from, to);
      EXPECT_EQ(edited(from, edits), to);
      // each item has another purpose: an item that is in both lists stays
      EXPECT_EQ(count(edits, Kind::remove),
                static_cast<std::size_t>(std::popcount(before & ~after)));
      EXPECT_EQ(count(edits, Kind::insert),
                static_cast<std::size_t>(std::popcount(after & ~before)));
    }
  }
}

}  // namespace
}  // namespace tarvinel
