#include "app/desktop/menu/TrayMenu.h"

#include <QAction>
#include <QActionGroup>
#include <QScreen>
#include <gmock/gmock.h>

#include <vector>

namespace tarvinel {
namespace {

using Action = MenuCommand::Action;
using testing::ElementsAre;
using testing::IsEmpty;

class TrayMenuTest : public testing::Test {
 protected:
  QAction* action(int index) { return menu_.menu().actions().at(index); }

  std::vector<MenuCommand> performed_;
  TrayMenu menu_{MenuDrawer::toolkit,
                 [this](const MenuCommand& command) { performed_.push_back(command); }};
};

TEST_F(TrayMenuTest, DrawsEveryKindOfItem) {
  menu_.draw({MenuItem::text("Not sharing"), MenuItem::divider(),
              MenuItem::submenu(
                  "Source", {MenuItem::title("Displays"), MenuItem::choice("Display 1", {}, true)}),
              MenuItem::button("Start Sharing", {Action::startSharing}, true, 'S'),
              MenuItem::toggle("Uploads", {Action::toggleUploads}, true, false)});
  ASSERT_EQ(menu_.menu().actions().size(), 5);
  EXPECT_EQ(action(0)->text(), QStringLiteral("Not sharing"));
  EXPECT_FALSE(action(0)->isEnabled());
  EXPECT_TRUE(action(1)->isSeparator());
  ASSERT_NE(action(2)->menu(), nullptr);
  EXPECT_EQ(action(3)->shortcut(), QKeySequence(Qt::CTRL | Qt::Key_S));
  EXPECT_TRUE(action(3)->isEnabled());
  EXPECT_FALSE(action(3)->isCheckable());
  EXPECT_TRUE(action(4)->isCheckable());
  EXPECT_TRUE(action(4)->isChecked());
  EXPECT_FALSE(action(4)->isEnabled());
  const auto sources = action(2)->menu()->actions();
  ASSERT_EQ(sources.size(), 2);
  EXPECT_FALSE(sources[0]->isEnabled());
  EXPECT_TRUE(sources[1]->isChecked());
  EXPECT_NE(sources[1]->actionGroup(), nullptr) << "is drawn as one of many";
}

TEST_F(TrayMenuTest, ASubmenuOfNothingCannotBeOpened) {
  menu_.draw({MenuItem::submenu("Source", {})});
  EXPECT_FALSE(action(0)->isEnabled());
  menu_.draw({MenuItem::submenu("Source", {MenuItem::title("Displays")})});
  EXPECT_TRUE(action(0)->isEnabled());
}

TEST_F(TrayMenuTest, ChangesLabelsWithoutMakingActionsAnew) {
  const auto submenu = MenuItem::submenu("Source", {MenuItem::choice("Display 1", {}, true)});
  menu_.draw({MenuItem::text("Not sharing"), submenu});
  const auto before = menu_.menu().actions();
  const auto source = action(1)->menu()->actions().at(0);
  int changes = 0;
  QObject::connect(action(1), &QAction::changed, [&changes] { ++changes; });
  QObject::connect(source, &QAction::changed, [&changes] { ++changes; });
  menu_.draw({MenuItem::text("Sharing Display 1 · 1 viewer"), submenu});
  EXPECT_EQ(menu_.menu().actions(), before);
  EXPECT_EQ(action(0)->text(), QStringLiteral("Sharing Display 1 · 1 viewer"));
  EXPECT_EQ(changes, 0) << "what stays the same is not touched";
}

TEST_F(TrayMenuTest, KeepsAnOpenMenuOpenWhileLinesComeAndGo) {
  const auto submenu = MenuItem::submenu("Source", {MenuItem::choice("Display 1", {}, true)});
  const auto line = MenuItem::text("Wi-Fi · 8 fps");
  menu_.draw({MenuItem::text("Sharing"), submenu});
  QMenu* const opened = action(1)->menu();
  menu_.menu().popup({0, 0});
  opened->popup({0, 0});
  menu_.draw({MenuItem::text("Sharing"), line, submenu});
  EXPECT_EQ(action(2)->menu(), opened);
  EXPECT_TRUE(menu_.menu().isVisible());
  EXPECT_TRUE(opened->isVisible());
  menu_.draw({MenuItem::text("Sharing"), submenu});
  EXPECT_EQ(menu_.menu().actions().size(), 2);
  EXPECT_TRUE(opened->isVisible());
}

TEST_F(TrayMenuTest, AnOpenMenuGrowsUpwardsFromTheScreensEdge) {
  menu_.draw({MenuItem::text("Sharing")});
  const int bottom = menu_.menu().screen()->availableGeometry().bottom();
  menu_.menu().popup({0, bottom});
  menu_.draw({MenuItem::text("Sharing"), MenuItem::text("Wi-Fi"), MenuItem::text("Uploads")});
  EXPECT_LE(menu_.menu().geometry().bottom(), bottom);
  EXPECT_GE(menu_.menu().height(), menu_.menu().sizeHint().height());
}

TEST_F(TrayMenuTest, ChangesOnlyTheEntriesOfASubmenuThatDiffer) {
  const auto choice = [](const char* label, const char* source, bool isOn) {
    return MenuItem::choice(label, {Action::selectSource, source}, isOn);
  };
  menu_.draw({MenuItem::submenu("Source",
                                {choice("A", "window-1", true), choice("B", "window-2", false)})});
  const auto before = action(0)->menu()->actions();
  menu_.draw(
      {MenuItem::submenu("Source", {choice("A", "window-1", false), choice("B", "window-2", true),
                                    choice("C", "window-3", false)})});
  const auto after = action(0)->menu()->actions();
  ASSERT_EQ(after.size(), 3);
  EXPECT_EQ(after.first(2), before);
  EXPECT_FALSE(after[0]->isChecked());
  EXPECT_TRUE(after[1]->isChecked());
}

TEST_F(TrayMenuTest, PerformsWhatIsClicked) {
  menu_.draw({MenuItem::button("Copy Address", {Action::copy, "http://a/"})});
  EXPECT_THAT(performed_, IsEmpty());
  action(0)->trigger();
  EXPECT_THAT(performed_, ElementsAre(MenuCommand{Action::copy, "http://a/"}));
  menu_.draw({MenuItem::button("Copy Address", {Action::copy, "http://b/"})});
  action(0)->trigger();
  EXPECT_EQ(performed_.back(), (MenuCommand{Action::copy, "http://b/"}));
}

TEST_F(TrayMenuTest, AToggleShowsTheModelsStateWhateverWasClicked) {
  menu_.draw({MenuItem::toggle("Uploads", {Action::toggleUploads}, false)});
  action(0)->trigger();
  EXPECT_FALSE(action(0)->isChecked()) << "the model has not said so yet";
  EXPECT_THAT(performed_, ElementsAre(MenuCommand{Action::toggleUploads}));
  menu_.draw({MenuItem::toggle("Uploads", {Action::toggleUploads}, true)});
  EXPECT_TRUE(action(0)->isChecked());
}

TEST_F(TrayMenuTest, AChoiceShowsTheModelsStateWhateverWasClicked) {
  menu_.draw({MenuItem::choice("A", {Action::selectSource, "a"}, true),
              MenuItem::choice("B", {Action::selectSource, "b"}, false)});
  action(1)->trigger();
  EXPECT_TRUE(action(0)->isChecked());
  EXPECT_FALSE(action(1)->isChecked());
  action(0)->trigger();
  EXPECT_TRUE(action(0)->isChecked());
}

}  // namespace
}  // namespace tarvinel
