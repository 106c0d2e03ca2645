#include "core/frames/StreamPolicy.h"

#include <gtest/gtest.h>

namespace tarvinel {
namespace {

TEST(TrafficMeter, KeepsOneDecimal) {
  TrafficMeter meter;
  EXPECT_EQ(meter.measure(12'005'000), 96.0);  // 96.04
}

TEST(TrafficMeter, MeasuresFromReadingToReading) {
  TrafficMeter meter;
  EXPECT_EQ(meter.measure(1'000'000), 8.0);
  EXPECT_EQ(meter.measure(1'000'000), 0.0);
  EXPECT_EQ(meter.measure(1'250'000), 2.0);
}

TEST(TrafficMeter, RoundsHalvesUp) {
  TrafficMeter meter;
  EXPECT_EQ(meter.measure(6'250), 0.1);   // 0.05
  EXPECT_EQ(meter.measure(12'499), 0.0);  // 0.049992 more
}

}  // namespace
}  // namespace tarvinel
