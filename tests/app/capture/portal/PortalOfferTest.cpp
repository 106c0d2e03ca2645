#include "app/capture/portal/PortalOffer.h"

#include <gtest/gtest.h>

namespace tarvinel {
namespace {

TEST(PortalOffer, OneEntryForEachTypeThatIsOffered) {
  EXPECT_TRUE((PortalOffer{0, 7, 4}.entries().choices.empty()));
  EXPECT_TRUE((PortalOffer{4, 7, 4}.entries().choices.empty()));  // virtual screens

  const auto screens = PortalOffer{1, 7, 4}.entries().choices;
  ASSERT_EQ(screens.size(), 1U);
  EXPECT_EQ(screens[0].kind, ShareableChoice::Kind::display);
  EXPECT_EQ(screens[0].title, "Screen (chosen in the desktop's dialog)");

  const auto both = PortalOffer{7, 7, 4}.entries().choices;
  ASSERT_EQ(both.size(), 2U);
  EXPECT_EQ(both[1].kind, ShareableChoice::Kind::window);
  EXPECT_EQ(both[1].title, "Window (chosen in the desktop's dialog)");
}

TEST(PortalOffer, TheCursorIsBestDrawnByTheDesktop) {
  EXPECT_EQ((PortalOffer{1, 7, 4}.cursorMode(true)), PortalCursorMode::embedded);
  EXPECT_EQ((PortalOffer{1, 5, 4}.cursorMode(true)), PortalCursorMode::metadata);
  EXPECT_EQ((PortalOffer{1, 1, 4}.cursorMode(true)), PortalCursorMode::hidden);
  EXPECT_EQ((PortalOffer{1, 0, 1}.cursorMode(true)), std::nullopt);
  EXPECT_EQ((PortalOffer{1, 7, 4}.cursorMode(false)), PortalCursorMode::hidden);
}

TEST(PortalOffer, RemembersSinceVersionFour) {
  EXPECT_FALSE((PortalOffer{1, 7, 3}.remembers()));
  EXPECT_TRUE((PortalOffer{1, 7, 4}.remembers()));
}

}  // namespace
}  // namespace tarvinel
