#include "app/updates/UpdateController.h"

#include <gtest/gtest.h>

#include <limits>

namespace tarvinel {
namespace {

using Kind = UpdateCheckPolicy::Kind;

TEST(UpdateCheckPolicy, TheKindsAreInTheirOrder) {
  EXPECT_EQ(static_cast<int>(Kind::scheduled), 0);
  EXPECT_EQ(static_cast<int>(Kind::userInitiated), 1);
  EXPECT_EQ(static_cast<int>(Kind::probe), 2);
}

TEST(UpdateCheckPolicy, KnowsTheControllersChecks) {
  EXPECT_EQ(UpdateCheckPolicy::kindOf(0), Kind::userInitiated);
  EXPECT_EQ(UpdateCheckPolicy::kindOf(1), Kind::scheduled);
  EXPECT_EQ(UpdateCheckPolicy::kindOf(2), Kind::probe);
}

TEST(UpdateCheckPolicy, TakesAnUnknownCheckForThePresenters) {
  for (const int check :
       {3, 4, 1000, -1, std::numeric_limits<int>::max(), std::numeric_limits<int>::min()}) {
    EXPECT_EQ(UpdateCheckPolicy::kindOf(check), Kind::userInitiated) << check;
    EXPECT_TRUE(UpdateCheckPolicy::allows(UpdateCheckPolicy::kindOf(check), true)) << check;
  }
}

TEST(UpdateCheckPolicy, WhileSharingOnlyScheduledChecksAreNotAllowed) {
  EXPECT_FALSE(UpdateCheckPolicy::allows(Kind::scheduled, true));
  EXPECT_TRUE(UpdateCheckPolicy::allows(Kind::userInitiated, true));
  EXPECT_TRUE(UpdateCheckPolicy::allows(Kind::probe, true));
}

TEST(UpdateCheckPolicy, WhileNotSharingEveryCheckIsAllowed) {
  EXPECT_TRUE(UpdateCheckPolicy::allows(Kind::scheduled, false));
  EXPECT_TRUE(UpdateCheckPolicy::allows(Kind::userInitiated, false));
  EXPECT_TRUE(UpdateCheckPolicy::allows(Kind::probe, false));
}

}  // namespace
}  // namespace tarvinel
