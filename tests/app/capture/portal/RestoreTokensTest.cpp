#include "app/capture/portal/RestoreTokens.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <utility>
#include <vector>

namespace tarvinel::portal {
namespace {

using testing::ElementsAre;
using testing::Pair;

const std::string display = RestoreTokens::displayKey;
const std::string window = RestoreTokens::windowKey;

TEST(RestoreTokens, KnowsWhatAnEarlierRunKnew) {
  RestoreTokens tokens;
  EXPECT_EQ(tokens.token(display), std::nullopt);
  tokens.begin(
      [](const std::string& key) {
        return key == display ? std::optional<std::string>("old") : std::nullopt;
      },
      nullptr);
  EXPECT_EQ(tokens.token(display), "old");
  EXPECT_EQ(tokens.token(window), std::nullopt);
}

TEST(RestoreTokens, TheNewestReplacesTheOneBeforeAndIsTold) {
  std::vector<std::pair<std::string, std::string>> told;
  RestoreTokens tokens;
  tokens.begin(
      [](const std::string&) { return std::optional<std::string>("old"); },
      [&](const std::string& key, const std::string& token) { told.emplace_back(key, token); });
  tokens.remember(display, "new");
  tokens.remember(window, std::nullopt);
  EXPECT_EQ(tokens.token(display), "new");
  EXPECT_EQ(tokens.token(window), std::nullopt);
  EXPECT_THAT(told, ElementsAre(Pair(display, "new"), Pair(window, "")));
}

TEST(RestoreTokens, TellsWhatIsLostFromWhatNeverWas) {
  RestoreTokens tokens;
  EXPECT_EQ(tokens.memory(display), Memory::none);
  tokens.remember(display, std::nullopt);
  EXPECT_EQ(tokens.memory(display), Memory::none);
  tokens.remember(display, "first");
  EXPECT_EQ(tokens.memory(display), Memory::known);
  tokens.remember(display, std::nullopt);
  EXPECT_EQ(tokens.memory(display), Memory::lost);
  EXPECT_EQ(tokens.token(display), std::nullopt);
}

TEST(RestoreTokens, AnEmptyOneIsNone) {
  RestoreTokens tokens;
  tokens.begin([](const std::string&) { return std::optional<std::string>(""); }, nullptr);
  EXPECT_EQ(tokens.memory(display), Memory::none);
}

}  // namespace
}  // namespace tarvinel::portal
