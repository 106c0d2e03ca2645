#include "app/updates/AppcastItem.h"

#include <gtest/gtest.h>

namespace tarvinel {
namespace {

TEST(AppcastItem, TheNewestIsFoundWhereverItStands) {
  EXPECT_EQ(newestOf({{"1.9", "https://a/"}}), (AppcastItem{"1.9", "https://a/"}));
  EXPECT_EQ(newestOf({{"1.10", {}}, {"1.9", {}}, {"1.2", {}}}).version, "1.10");
  EXPECT_EQ(newestOf({{"1.2", {}}, {"1.10", {}}, {"1.10-rc1", {}}}).version, "1.10");
}

TEST(AppcastItem, OfEqualVersionsTheFirstCounts) {
  EXPECT_EQ(newestOf({{"1.1", {}}, {"1.2", "https://a/"}, {"1.2.0", "https://b/"}}),
            (AppcastItem{"1.2", "https://a/"}));
}

}  // namespace
}  // namespace tarvinel
