#include "core/support/Geometry.h"
#include "tests/support/NoNumbers.h"

#include <gtest/gtest.h>

namespace tarvinel {
namespace {

TEST(Rect, MinimumEdgesAreInsideMaximumEdgesAreNot) {
  const Rect rect{10, 20, 30, 40};
  EXPECT_TRUE(rect.contains({10, 20}));
  EXPECT_FALSE(rect.contains({40, 20}));
  EXPECT_FALSE(rect.contains({10, 60}));
}

TEST(Rect, IntersectionOfOverlappingAndOfApart) {
  EXPECT_EQ((Rect{0, 0, 10, 10}.intersection({5, 6, 10, 10})), (Rect{5, 6, 5, 4}));
  EXPECT_EQ((Rect{0, 0, 10, 10}.intersection({10, 0, 5, 5})), Rect{});
  EXPECT_EQ((Rect{0, 0, 10, 10}.intersection({2, 2, 0, 5})), Rect{});
}

TEST(Rect, IntegralRoundsOutward) {
  EXPECT_EQ((Rect{10.4, 20.6, 100.2, 50.1}.integral()), (Rect{10, 20, 101, 51}));
  EXPECT_EQ((Rect{-0.5, 0, 1, 1}.integral()), (Rect{-1, 0, 2, 1}));
}

TEST(Rect, EmptinessCountsNaN) {
  EXPECT_TRUE((Rect{0, 0, 0, 5}.isEmpty()));
  EXPECT_TRUE((Rect{0, 0, -1, 5}.isEmpty()));
  EXPECT_TRUE((Rect{0, 0, nan, 5}.isEmpty()));
  EXPECT_FALSE((Rect{0, 0, 0.1, 0.1}.isEmpty()));
}

}  // namespace
}  // namespace tarvinel
