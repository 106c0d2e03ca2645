#include "app/capture/portal/Service.h"

#include <gtest/gtest.h>

namespace tarvinel::portal {
namespace {

TEST(PictureDensity, IsOneWhereAPixelIsAPoint) {
  PictureDensity density(Size{800, 600});
  EXPECT_EQ(density.points(800, 600), (Size{800, 600}));
  EXPECT_EQ(density.points(1000, 300), (Size{1000, 300}));
}

TEST(PictureDensity, IsThatOfTheFirstPictureForAllThatFollow) {
  PictureDensity density(Size{800, 600});
  EXPECT_EQ(density.points(1600, 1200), (Size{800, 600}));
  EXPECT_EQ(density.points(2000, 800), (Size{1000, 400}));
  EXPECT_EQ(density.points(800, 600), (Size{400, 300}));
}

TEST(PictureDensity, HasNothingToDoWithHowAPictureIsTurned) {
  PictureDensity density(Size{800, 600});
  EXPECT_EQ(density.points(1200, 1600), (Size{600, 800}));
}

TEST(PictureDensity, IsNeverLessThanOne) {
  PictureDensity density(Size{800, 600});
  EXPECT_EQ(density.points(400, 300), (Size{400, 300}));
}

TEST(PictureDensity, IsNotKnownWithoutASizeThatWasTold) {
  PictureDensity density;
  EXPECT_EQ(density.points(800, 600), std::nullopt);
}

}  // namespace
}  // namespace tarvinel::portal
