#include "app/desktop/menu/MenuWindow.h"

#include <QCheckBox>
#include <QCoreApplication>
#include <QLabel>
#include <QLayout>
#include <QMenu>
#include <QPushButton>
#include <gmock/gmock.h>

#include <vector>

namespace tarvinel {
namespace {

using Action = MenuCommand::Action;
using testing::ElementsAre;

class MenuWindowTest : public testing::Test {
 protected:
  template <class Widget>
  Widget* row(int index) {
    return qobject_cast<Widget*>(window_.widget().layout()->itemAt(index)->widget());
  }

  static QWidget* nextByTab(QWidget* widget) {
    do {
      widget = widget->nextInFocusChain();
    } while ((widget->focusPolicy() & Qt::TabFocus) == 0);
    return widget;
  }

  std::vector<MenuCommand> performed_;
  MenuWindow window_{[this](const MenuCommand& command) { performed_.push_back(command); }};
};

TEST_F(MenuWindowTest, DrawsEveryKindOfItem) {
  window_.draw({MenuItem::text("Not_sharing & more"), MenuItem::divider(),
                MenuItem::submenu("Source", {MenuItem::title("Displays"),
                                             MenuItem::choice("Display 1", {}, true)}),
                MenuItem::button("Start Sharing", {Action::startSharing}, false, 'S'),
                MenuItem::toggle("Uploads", {Action::toggleUploads}, true)});
  EXPECT_EQ(row<QLabel>(0)->text(), QStringLiteral("Not_sharing & more"));
  EXPECT_TRUE(row<QLabel>(0)->textInteractionFlags().testFlag(Qt::TextSelectableByMouse));
  EXPECT_NE(row<QFrame>(1), nullptr);
  EXPECT_EQ(row<QPushButton>(2)->text(), QStringLiteral("Source: Display 1"));
  EXPECT_EQ(row<QPushButton>(2)->menu()->actions().size(), 2);
  EXPECT_EQ(row<QPushButton>(3)->shortcut(), QKeySequence(Qt::CTRL | Qt::Key_S));
  EXPECT_FALSE(row<QPushButton>(3)->isEnabled());
  EXPECT_TRUE(row<QCheckBox>(4)->isChecked());
}

TEST_F(MenuWindowTest, ChangesRowsInTheirPlaces) {
  window_.draw({MenuItem::text("Not sharing"),
                MenuItem::button("Start Sharing", {Action::startSharing}, true, 'S')});
  auto* const text = row<QLabel>(0);
  auto* const button = row<QPushButton>(1);
  window_.draw({MenuItem::text("Sharing"), MenuItem::text("Wi-Fi"),
                MenuItem::button("Stop Sharing", {Action::stopSharing}, true, 'S')});
  EXPECT_EQ(row<QLabel>(0), text);
  EXPECT_EQ(text->text(), QStringLiteral("Sharing"));
  EXPECT_EQ(row<QPushButton>(2), button);
  EXPECT_EQ(button->text(), QStringLiteral("Stop Sharing"));
  EXPECT_EQ(button->shortcut(), QKeySequence(Qt::CTRL | Qt::Key_S)) << "a new text takes it away";
  window_.draw({MenuItem::text("Sharing"),
                MenuItem::button("Stop Sharing", {Action::stopSharing}, true, 'S')});
  EXPECT_EQ(row<QPushButton>(1), button);
}

TEST_F(MenuWindowTest, PerformsWhatIsClicked) {
  window_.draw({MenuItem::button("Quit Tarvinel", {Action::quit}, true, 'Q'),
                MenuItem::toggle("Uploads", {Action::toggleUploads}, false)});
  row<QPushButton>(0)->click();
  row<QCheckBox>(1)->click();
  EXPECT_THAT(performed_,
              ElementsAre(MenuCommand{Action::quit}, MenuCommand{Action::toggleUploads}));
  EXPECT_FALSE(row<QCheckBox>(1)->isChecked()) << "the model has not said so yet";
}

TEST_F(MenuWindowTest, TheTabKeyGoesFromTopToBottom) {
  const auto uploads = MenuItem::toggle("Uploads", {Action::toggleUploads}, false);
  const auto quit = MenuItem::button("Quit Tarvinel", {Action::quit});
  window_.draw({uploads, MenuItem::divider(), quit});
  window_.draw({uploads, MenuItem::divider(), MenuItem::button("Help", {Action::openHelp}), quit});
  EXPECT_EQ(nextByTab(row<QWidget>(0)), row<QWidget>(2));
  EXPECT_EQ(nextByTab(row<QWidget>(2)), row<QWidget>(3));
}

TEST_F(MenuWindowTest, NothingThatIsLongIsCut) {
  const auto sourceNamed = [](const std::string& name) {
    return MenuItem::submenu("Source", {MenuItem::choice(name, {}, true)});
  };
  const std::string longText = std::string(40, 'm') + " " + std::string(30, 'm');
  window_.draw({MenuItem::text("Not sharing"), sourceNamed("Display 1")});
  window_.open();
  window_.draw({MenuItem::text("Sharing " + longText), MenuItem::text("Can't " + longText),
                sourceNamed("Window (chosen in the desktop's dialog, or so)")});
  QCoreApplication::processEvents();
  for (const int index : {0, 1}) {
    const auto* const text = row<QLabel>(index);
    EXPECT_GT(text->heightForWidth(text->width()), text->fontMetrics().height()) << "it is wrapped";
    EXPECT_GE(text->height(), text->heightForWidth(text->width()));
  }
  EXPECT_GE(row<QPushButton>(2)->width(), row<QPushButton>(2)->minimumSizeHint().width());
}

TEST_F(MenuWindowTest, OpensAgainAfterItWasClosed) {
  window_.draw({MenuItem::text("Not sharing")});
  EXPECT_FALSE(window_.widget().isVisible());
  window_.open();
  EXPECT_TRUE(window_.widget().isVisible());
  window_.widget().close();
  EXPECT_FALSE(window_.widget().isVisible());
  window_.open();
  EXPECT_TRUE(window_.widget().isVisible());
  window_.widget().showMinimized();
  window_.open();
  EXPECT_FALSE(window_.widget().isMinimized());
}

}  // namespace
}  // namespace tarvinel
