#include "app/updates/AppcastItem.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace tarvinel {
namespace {

TEST(VersionOrder, PutsVersionsInOrder) {
  const std::vector<std::string> oldestFirst = {"0.9",
                                                "1.0-alpha",
                                                "1.0-alpha.1",
                                                "1.0-alpha.beta",
                                                "1.0-beta.2",
                                                "1.0-beta.11",
                                                "1.0-rc.1",
                                                "1.0",
                                                "1.0.1",
                                                "1.9",
                                                "1.10",
                                                "1.10.0.1",
                                                "2.0b2",
                                                "2.0rc1",
                                                "2.0",
                                                "10",
                                                "2026.11.21",
                                                "99999999999999999999999999999999999999999999.1",
                                                "100000000000000000000000000000000000000000000"};
  for (std::size_t i = 0; i < oldestFirst.size(); ++i) {
    for (std::size_t j = 0; j < oldestFirst.size(); ++j) {
      EXPECT_EQ(VersionOrder::compare(oldestFirst[i], oldestFirst[j]), std::weak_ordering(i <=> j))
          << oldestFirst[i] << " and " << oldestFirst[j];
      EXPECT_EQ(VersionOrder::isNewer(oldestFirst[i], oldestFirst[j]), i > j)
          << oldestFirst[i] << " and " << oldestFirst[j];
    }
  }
}

TEST(VersionOrder, TheSameVersionCanBeWrittenInManyWays) {
  const std::vector<std::string> same[] = {
      {"1.2", "1.2.0", "v1.2", "V1.2.0.0", "01.002", "1.2+build7"},
      {"1.2-beta1", "1.2.0-BETA.1", "1.2beta1", "1.2~beta01"}};
  for (const auto& group : same) {
    for (const auto& one : group) {
      for (const auto& other : group) {
        EXPECT_EQ(VersionOrder::compare(one, other), std::weak_ordering::equivalent)
            << one << " and " << other;
      }
    }
  }
}

TEST(VersionOrder, KnowsAVersion) {
  for (const char* text : {"1", "0.1.0", "v2", "1.2-beta.3+x64", "1.2~rc1", "1.", "1_2"}) {
    EXPECT_TRUE(VersionOrder::isVersion(text)) << text;
  }
  EXPECT_TRUE(VersionOrder::isVersion(std::string(64, '9')));
}

TEST(VersionOrder, KnowsWhatIsNone) {
  for (const char* text : {"", "v", "beta", ".1", "-1", "1.2 (beta)", "1.2\n", "<b>1.2</b>", "1.2ä",
                           "1,2", "1/2", "1&amp;2", "1.2\x1b[2J"}) {
    EXPECT_FALSE(VersionOrder::isVersion(text)) << text;
  }
  EXPECT_FALSE(VersionOrder::isVersion(std::string(65, '9')));
  EXPECT_FALSE(VersionOrder::isVersion(std::string("1.2\0", 4)));
}

}  // namespace
}  // namespace tarvinel
