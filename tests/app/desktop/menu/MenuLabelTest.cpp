#include "app/desktop/menu/MenuLabel.h"

#include <gtest/gtest.h>

namespace tarvinel {
namespace {

std::string toolkit(const std::string& label) {
  return menuLabel(MenuItem::text(label), MenuDrawer::toolkit).toStdString();
}

std::string panel(const std::string& label) {
  return menuLabel(MenuItem::text(label), MenuDrawer::panel).toStdString();
}

TEST(MenuLabel, DoublesWhatTheToolkitWouldTakeForAMark) {
  EXPECT_EQ(toolkit("Q&A & more"), "Q&&A && more");
  EXPECT_EQ(toolkit("my_file_1"), "my_file_1");
}

TEST(MenuLabel, DoublesWhatAPanelWouldTakeForAMark) {
  EXPECT_EQ(panel("my_file_1"), "my__file__1");
  EXPECT_EQ(panel("Q&A & more"), "Q&&A & more");
  EXPECT_EQ(panel("Q&"), "Q&");
  EXPECT_EQ(panel("&Q&"), "&&Q&");
}

TEST(MenuLabel, IsOneLine) {
  EXPECT_EQ(toolkit("A title\twith\na break"), "A title with a break");
}

TEST(MenuLabel, IsShortenedInTheMiddle) {
  const std::string half(40, 'a');
  EXPECT_EQ(toolkit(half + half), half + half);
  EXPECT_EQ(toolkit(half + "x" + half), half + "…" + half);
}

TEST(MenuLabel, KeepsWhatIsNoText) {
  EXPECT_EQ(toolkit("caf\xE9"), "caf\xEF\xBF\xBD");
}

}  // namespace
}  // namespace tarvinel
