#include "app/capture/x11/Service.h"

#include <gtest/gtest.h>

#include <limits>

namespace tarvinel::x11 {
namespace {

using namespace std::chrono_literals;

constexpr CapturePacing::Time start{1000s};

TEST(CapturePacing, MayLookAtOnceAtFirst) {
  EXPECT_LE(CapturePacing(20).notBefore(), start);
}

TEST(CapturePacing, AFrameIsFollowedByAnInterval) {
  CapturePacing pacing(20);
  pacing.looked(start, true);
  EXPECT_EQ(pacing.notBefore(), start + 50ms);
}

TEST(CapturePacing, ALookInVainHoldsBackAnEighthOfThat) {
  CapturePacing pacing(20);
  pacing.looked(start, true);
  pacing.looked(start + 50ms, false);
  EXPECT_EQ(pacing.notBefore(), start + 56250us);
}

TEST(CapturePacing, ContinuousDamageGivesTheConfiguredRate) {
  CapturePacing pacing(20);
  int frames = 0;
  for (CapturePacing::Time now = start; now < start + 1s; now += 1ms) {
    if (now < pacing.notBefore()) continue;
    pacing.looked(now, true);
    ++frames;
  }
  EXPECT_EQ(frames, 20);
}

TEST(CapturePacing, ARateBelowOneCountsAsOne) {
  for (const std::int32_t rate : {1, 0, -5, std::numeric_limits<std::int32_t>::min()}) {
    CapturePacing pacing(rate);
    pacing.looked(start, true);
    EXPECT_EQ(pacing.notBefore(), start + 1s);
  }
}

}  // namespace
}  // namespace tarvinel::x11
