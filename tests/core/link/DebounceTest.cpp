#include "core/link/NetlinkPath.h"

#include <gtest/gtest.h>

namespace tarvinel {
namespace {

using std::chrono::milliseconds;

constexpr Debounce::TimePoint start{};

TEST(Debounce, OneEventIsActedOnAfterTheQuiet) {
  Debounce debounce(milliseconds(100), milliseconds(1000));
  EXPECT_EQ(debounce.event(start), start + milliseconds(100));
}

TEST(Debounce, EachEventPutsItOffButNotForEver) {
  Debounce debounce(milliseconds(100), milliseconds(1000));
  debounce.event(start);
  EXPECT_EQ(debounce.event(start + milliseconds(50)), start + milliseconds(150));
  EXPECT_EQ(debounce.event(start + milliseconds(899)), start + milliseconds(999));
  EXPECT_EQ(debounce.event(start + milliseconds(950)), start + milliseconds(1000));
}

TEST(Debounce, AfterTheActAnotherBurstBegins) {
  Debounce debounce(milliseconds(100), milliseconds(1000));
  debounce.event(start);
  debounce.acted();
  EXPECT_EQ(debounce.event(start + milliseconds(5000)), start + milliseconds(5100));
}

}  // namespace
}  // namespace tarvinel
