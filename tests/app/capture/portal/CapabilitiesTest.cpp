#include "app/capture/portal/Capabilities.h"

#include <gtest/gtest.h>

namespace tarvinel::portal {
namespace {

std::vector<ShareableChoice> choices(const Capabilities& offer, Memory ofDisplays,
                                     Memory ofWindows = Memory::none) {
  return offer
      .entries(
          [&](SourceType type) { return type == SourceType::display ? ofDisplays : ofWindows; })
      .choices;
}

TEST(Capabilities, OneEntryForEachTypeThatIsOffered) {
  EXPECT_TRUE(choices({0, 7, 4}, Memory::none).empty());
  EXPECT_TRUE(choices({4, 7, 4}, Memory::known).empty());  // virtual screens

  const auto screens = choices({1, 7, 4}, Memory::none);
  ASSERT_EQ(screens.size(), 1U);
  EXPECT_EQ(screens[0].kind, ShareableChoice::Kind::display);
  EXPECT_EQ(screens[0].title, "Screen (chosen in the desktop's dialog)");

  const auto both = choices({7, 7, 4}, Memory::none);
  ASSERT_EQ(both.size(), 2U);
  EXPECT_EQ(both[1].kind, ShareableChoice::Kind::window);
  EXPECT_EQ(both[1].title, "Window (chosen in the desktop's dialog)");
}

TEST(Capabilities, WhatTheDesktopWouldNotAskAgainCanBeChosenAnew) {
  const auto screens = choices({1, 7, 4}, Memory::known, Memory::known);
  ASSERT_EQ(screens.size(), 2U);
  EXPECT_EQ(screens[0].number, 1U);
  EXPECT_EQ(screens[0].title, "Screen (the last one chosen)");
  EXPECT_EQ(screens[1].kind, ShareableChoice::Kind::display);
  EXPECT_EQ(screens[1].number, 2U);
  EXPECT_EQ(screens[1].title, "Another screen (chosen in the desktop's dialog)");

  const auto windows = choices({2, 7, 4}, Memory::none, Memory::known);
  ASSERT_EQ(windows.size(), 2U);
  EXPECT_EQ(windows[0].title, "Window (the last one chosen)");
  EXPECT_EQ(windows[1].kind, ShareableChoice::Kind::window);
  EXPECT_EQ(windows[1].title, "Another window (chosen in the desktop's dialog)");
}

TEST(Capabilities, AnEntryThatMayBeSharedJustNowStaysListed) {
  const auto screens = choices({1, 7, 4}, Memory::lost);
  ASSERT_EQ(screens.size(), 2U);
  EXPECT_EQ(screens[0].title, "Screen (chosen in the desktop's dialog)");
  EXPECT_EQ(screens[1].number, 2U);
}

TEST(Capabilities, APortalThatRemembersNothingAlwaysAsks) {
  EXPECT_EQ(choices({1, 7, 3}, Memory::known).size(), 1U);
}

TEST(Capabilities, TheCursorIsBestDrawnByTheDesktop) {
  EXPECT_EQ((Capabilities{1, 7, 4}.cursorMode(true)), CursorMode::embedded);
  EXPECT_EQ((Capabilities{1, 5, 4}.cursorMode(true)), CursorMode::metadata);
  EXPECT_EQ((Capabilities{1, 1, 4}.cursorMode(true)), CursorMode::hidden);
  EXPECT_EQ((Capabilities{1, 0, 1}.cursorMode(true)), std::nullopt);
  EXPECT_EQ((Capabilities{1, 7, 4}.cursorMode(false)), CursorMode::hidden);
}

TEST(Capabilities, RemembersSinceVersionFour) {
  EXPECT_FALSE((Capabilities{1, 7, 3}.remembers()));
  EXPECT_TRUE((Capabilities{1, 7, 4}.remembers()));
}

}  // namespace
}  // namespace tarvinel::portal
