#include "core/support/UUID.h"

#include <gtest/gtest.h>

#include <regex>
#include <string>
#include <unordered_set>

namespace tarvinel {
namespace {

TEST(UUID, IsARandomOneOfVersionFourInLowerCase) {
  const std::regex form("[0-9a-f]{8}-[0-9a-f]{4}-4[0-9a-f]{3}-[89ab][0-9a-f]{3}-[0-9a-f]{12}");
  for (int i = 0; i < 100; ++i) {
    const std::string text = UUID::random().text();
    EXPECT_TRUE(std::regex_match(text, form)) << text;
  }
}

TEST(UUID, EachIsDifferent) {
  std::unordered_set<UUID> all;
  for (int i = 0; i < 1000; ++i)
    all.insert(UUID::random());
  EXPECT_EQ(all.size(), 1000U);
  EXPECT_EQ(UUID(*all.begin()), *all.begin());
}

}  // namespace
}  // namespace tarvinel
