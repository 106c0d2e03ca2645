#include "app/capture/FramePipeline.h"

#include <gtest/gtest.h>

namespace tarvinel {
namespace {

TEST(MotionBytesAverage, TheNewestCountsAFifth) {
  MotionBytesAverage average;
  EXPECT_EQ(average.value(), 0);
  average.add(10000);
  EXPECT_DOUBLE_EQ(average.value(), 10000);
  average.add(20000);
  EXPECT_DOUBLE_EQ(average.value(), 12000);
  average.add(20000);
  EXPECT_DOUBLE_EQ(average.value(), 13600);
}

}  // namespace
}  // namespace tarvinel
