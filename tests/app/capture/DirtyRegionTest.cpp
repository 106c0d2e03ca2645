#include "app/capture/DirtyRegion.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace tarvinel {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

constexpr PixelRect rightMonitor{100, 50, 200, 80};

TEST(DirtyRegion, IsEmptyAtFirst) {
  const DirtyRegion region(rightMonitor);
  EXPECT_TRUE(region.isEmpty());
  EXPECT_THAT(region.rects(), IsEmpty());
  EXPECT_THAT(region.bands(std::nullopt), IsEmpty());
}

TEST(DirtyRegion, CountsFromTheAreasOwnOrigin) {
  DirtyRegion region(rightMonitor);
  region.add({110, 60, 5, 7});
  EXPECT_THAT(region.rects(), ElementsAre(Rect{10, 10, 5, 7}));
  EXPECT_THAT(region.bands(std::nullopt), ElementsAre(RowBand{10, 7}));
}

TEST(DirtyRegion, DropsWhatLiesOutsideAndCutsWhatLiesAcrossTheEdge) {
  DirtyRegion region(rightMonitor);
  region.add({0, 0, 100, 200});
  region.add({300, 50, 10, 10});
  region.add({100, 130, 10, 10});
  EXPECT_TRUE(region.isEmpty());
  region.add({90, 40, 20, 20});
  region.add({290, 120, 20, 20});
  EXPECT_THAT(region.rects(), ElementsAre(Rect{0, 0, 10, 10}, Rect{190, 70, 10, 10}));
}

TEST(DirtyRegion, IgnoresEmptyRectangles) {
  DirtyRegion region(rightMonitor);
  region.add({110, 60, 0, 7});
  region.add({110, 60, 7, -1});
  EXPECT_TRUE(region.isEmpty());
}

TEST(DirtyRegion, SortsBandsAndJoinsThoseThatOverlapOrTouch) {
  DirtyRegion region({0, 0, 100, 100});
  region.add({0, 50, 1, 10});
  region.add({0, 10, 1, 5});
  region.add({50, 12, 1, 3});
  region.add({0, 15, 1, 1});
  region.add({0, 17, 1, 1});
  EXPECT_THAT(region.bands(std::nullopt),
              ElementsAre(RowBand{10, 6}, RowBand{17, 1}, RowBand{50, 10}));
}

TEST(DirtyRegion, ABandWithinAnotherDoesNotShortenIt) {
  DirtyRegion region({0, 0, 100, 100});
  region.add({0, 10, 1, 30});
  region.add({0, 15, 1, 2});
  EXPECT_THAT(region.bands(std::nullopt), ElementsAre(RowBand{10, 30}));
}

TEST(DirtyRegion, TakesInseparableRowsWholeWhenOneOfThemIsDirty) {
  DirtyRegion region({0, 0, 100, 100});
  region.add({0, 20, 1, 3});
  EXPECT_THAT(region.bands(RowBand{22, 10}), ElementsAre(RowBand{20, 12}));
  EXPECT_THAT(region.bands(RowBand{11, 10}), ElementsAre(RowBand{11, 12}));
  EXPECT_THAT(region.rects(), ElementsAre(Rect{0, 20, 1, 3}));
}

TEST(DirtyRegion, LeavesInseparableRowsAloneWhenNoneOfThemIsDirty) {
  DirtyRegion region({0, 0, 100, 100});
  region.add({0, 20, 1, 3});
  EXPECT_THAT(region.bands(RowBand{23, 10}), ElementsAre(RowBand{20, 3}));
  EXPECT_THAT(region.bands(RowBand{10, 10}), ElementsAre(RowBand{20, 3}));
}

}  // namespace
}  // namespace tarvinel
