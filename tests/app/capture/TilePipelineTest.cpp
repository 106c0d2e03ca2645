#include "app/capture/TilePipeline.h"
#include "tests/support/CapturedLog.h"
#include "tests/support/TileCanvas.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>

namespace tarvinel {
namespace {

using test::CapturedLog;
using test::TileCanvas;
using testing::ElementsAre;
using testing::Le;
using testing::SizeIs;

constexpr int nearly = 24;  // the largest error of a sharp sample in these pictures

class TilePipelineTest : public testing::Test {
 protected:
  TilePipelineTest() { pipeline.begin({}, 20); }

  void join() {
    viewer = broadcaster.subscribeToTiles(
        [this](const TilePicture& picture) { received.push_back(picture); });
  }

  void leave() { broadcaster.unsubscribe(viewer); }

  void fill(const PixelRect& area, std::uint8_t shade) {
    for (std::int32_t y = area.y; y < area.maxY(); ++y) {
      std::uint8_t* row = buffer->pixels() + static_cast<std::size_t>(y) * buffer->bytesPerRow();
      std::fill(row + area.x * 4, row + area.maxX() * 4, shade);
    }
  }

  void deliver(const std::optional<std::vector<Rect>>& dirty, double at) {
    pipeline.frame({buffer, crop, scale, motionScale}, dirty, at);
  }

  /// Applies everything that the viewer received.
  void follow() {
    for (const TilePicture& picture : std::exchange(received, {})) {
      if (picture.table)
        canvas.apply(tiles::updateMessage(*picture.table, canvas.version()).value());
    }
  }

  PixelView view() const {
    return PixelView{buffer->baseAddress(), buffer->width(), buffer->height(),
                     buffer->bytesPerRow()}
        .part(croppedArea(buffer->width(), buffer->height(), crop));
  }

  std::shared_ptr<MemoryPixelBuffer> buffer = std::make_shared<MemoryPixelBuffer>(640, 480);
  std::optional<Rect> crop;
  double scale = 1;
  double motionScale = 1;
  CapturedLog log;
  FrameBroadcaster broadcaster;
  TilePipeline pipeline{broadcaster, log.category("capture")};
  UUID viewer;
  std::vector<TilePicture> received;
  TileCanvas canvas;
};

TEST_F(TilePipelineTest, TheViewerFollowsWhatChanges) {
  join();
  deliver(std::nullopt, 1.0);
  fill({100, 100, 20, 20}, 200);
  deliver({{{100, 100, 20, 20}}}, 1.1);
  follow();
  EXPECT_EQ(canvas.tilesOfLastUpdate(), 2U);
  EXPECT_THAT(canvas.differenceFrom(view()), Le(nearly));
}

TEST_F(TilePipelineTest, WhileNobodyWatchesNothingIsMade) {
  deliver(std::nullopt, 1.0);
  EXPECT_FALSE(broadcaster.hasTiles());
  EXPECT_FALSE(pipeline.needsTicks());
}

TEST_F(TilePipelineTest, WhoJoinsGetsThePictureAsItIsNow) {
  deliver(std::nullopt, 1.0);
  fill({0, 0, 640, 480}, 90);
  deliver({{{0, 0, 640, 480}}}, 1.1);
  join();
  EXPECT_THAT(received, SizeIs(0));
  pipeline.viewerWaits(5.0);
  follow();
  EXPECT_THAT(canvas.differenceFrom(view()), Le(nearly));
}

TEST_F(TilePipelineTest, WhoJoinsAgainGetsNothingOutOfDate) {
  join();
  deliver(std::nullopt, 1.0);
  leave();
  fill({0, 0, 640, 480}, 90);
  deliver({{{0, 0, 640, 480}}}, 1.1);
  received.clear();
  join();
  EXPECT_THAT(received, SizeIs(0));
  pipeline.viewerWaits(1.2);
  EXPECT_THAT(received, SizeIs(1));
}

TEST_F(TilePipelineTest, WhoJoinsAgainToAnUnchangedPictureGetsItAtOnce) {
  join();
  deliver(std::nullopt, 1.0);
  leave();
  received.clear();
  join();
  EXPECT_THAT(received, SizeIs(1));
}

TEST_F(TilePipelineTest, OnlyTheCroppedPartIsSeen) {
  crop = Rect{40, 30, 300, 200};
  join();
  deliver(std::nullopt, 1.0);
  fill({50, 40, 8, 8}, 200);
  fill({0, 0, 30, 20}, 250);
  deliver({{{50, 40, 8, 8}, {0, 0, 30, 20}}}, 1.1);
  follow();
  EXPECT_EQ(canvas.width(), 300U);
  EXPECT_EQ(canvas.tilesOfLastUpdate(), 2U);
  EXPECT_THAT(canvas.differenceFrom(view()), Le(nearly));
}

TEST_F(TilePipelineTest, AnotherCropIsAnotherPicture) {
  fill({100, 100, 200, 200}, 220);
  crop = Rect{0, 0, 300, 200};
  join();
  deliver(std::nullopt, 1.0);
  crop = Rect{60, 70, 300, 200};
  deliver({{{0, 0, 1, 1}}}, 1.1);
  pipeline.tick(2.0);
  follow();
  EXPECT_THAT(canvas.differenceFrom(view()), Le(nearly));
}

TEST_F(TilePipelineTest, AReducedPictureFollowsTheEdgesOfWhatChanged) {
  scale = 0.5;
  join();
  deliver(std::nullopt, 1.0);
  fill({255, 31, 2, 2}, 255);
  deliver({{{255, 31, 2, 2}}}, 1.1);
  follow();
  EXPECT_EQ(canvas.width(), 320U);
  EXPECT_EQ(canvas.height(), 240U);
  for (const std::size_t x : {127U, 128U}) {
    for (const std::size_t y : {15U, 16U})
      EXPECT_GT(canvas.at(x, y)[0], 30) << x << ' ' << y;
  }
}

TEST_F(TilePipelineTest, AChangeOfSizeIsAWholePicture) {
  join();
  deliver(std::nullopt, 1.0);
  buffer = std::make_shared<MemoryPixelBuffer>(320, 200);
  deliver({{{0, 0, 1, 1}}}, 1.1);
  follow();
  EXPECT_EQ(canvas.width(), 320U);
  EXPECT_EQ(canvas.tilesOfLastUpdate(), 39U);
}

TEST_F(TilePipelineTest, DamageFromElsewhereIsIgnored) {
  join();
  deliver(std::nullopt, 1.0);
  received.clear();
  deliver({{{-1e18, -1e18, 1e17, 1e17}, {1e300, 0, 1e300, 1}, {0, 0, -5, 9}}}, 1.1);
  EXPECT_THAT(received, SizeIs(0));
  deliver({{{-1e18, -1e18, 3e18, 3e18}}}, 1.2);
  EXPECT_THAT(received, SizeIs(0)) << "nothing really differs";
}

TEST_F(TilePipelineTest, ACaptureThatBeginsIsAnotherPicture) {
  join();
  deliver(std::nullopt, 1.0);
  pipeline.begin({}, 20);
  received.clear();
  deliver({{{0, 0, 1, 1}}}, 1.1);
  follow();
  EXPECT_EQ(canvas.tilesOfLastUpdate(), 150U);
}

TEST_F(TilePipelineTest, APictureThatCannotBeEncodedIsReportedOnce) {
  join();
  deliver(std::nullopt, 1.0);
  buffer = std::make_shared<MemoryPixelBuffer>(70000, 1);
  deliver(std::nullopt, 1.1);
  deliver(std::nullopt, 1.2);
  EXPECT_TRUE(pipeline.isUnable());
  EXPECT_FALSE(broadcaster.hasTiles());
  EXPECT_THAT(log.lines(), ElementsAre("capture|error|encode of tiles failed 70000x1: "
                                       "contextFailed"));
  buffer = std::make_shared<MemoryPixelBuffer>(640, 480);
  deliver(std::nullopt, 1.3);
  EXPECT_FALSE(pipeline.isUnable());
  EXPECT_TRUE(broadcaster.hasTiles());
}

}  // namespace
}  // namespace tarvinel
