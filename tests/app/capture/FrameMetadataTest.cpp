#include "app/capture/FramePipeline.h"
#include "core/frames/FramePacer.h"
#include "core/frames/PixelBuffer.h"
#include "tests/support/NoNumbers.h"

#include <gtest/gtest.h>

namespace tarvinel {
namespace {

CapturedFrame picture(std::size_t width = 1000, std::size_t height = 1000) {
  CapturedFrame frame;
  frame.buffer = std::make_shared<MemoryPixelBuffer>(width, height);
  return frame;
}

CapturedFrame dirty(std::vector<Rect> rectangles) {
  CapturedFrame frame = picture();
  frame.dirtyRects = std::move(rectangles);
  return frame;
}

FramePacer::Change changeOf(const CapturedFrame& frame) {
  const FrameMetadata metadata(frame);
  return FramePacer::change(metadata.dirtyFraction, metadata.idle);
}

TEST(FrameMetadata, OnlyCompleteAndIdlePicturesAreUsable) {
  CapturedFrame frame = picture();
  EXPECT_TRUE(FrameMetadata(frame).usable);
  frame.status = FrameStatus::complete;
  EXPECT_TRUE(FrameMetadata(frame).usable);
  EXPECT_FALSE(FrameMetadata(frame).idle);
  frame.status = FrameStatus::idle;
  EXPECT_TRUE(FrameMetadata(frame).usable);
  EXPECT_TRUE(FrameMetadata(frame).idle);
  for (const FrameStatus status :
       {FrameStatus::blank, FrameStatus::suspended, FrameStatus::started, FrameStatus::stopped}) {
    frame.status = status;
    EXPECT_FALSE(FrameMetadata(frame).usable);
  }
}

TEST(FrameMetadata, ASampleWithoutAPictureIsNotUsable) {
  CapturedFrame frame;
  frame.status = FrameStatus::idle;
  frame.dirtyRects = {{0, 0, 1, 1}};
  EXPECT_FALSE(FrameMetadata(frame).usable);
}

TEST(FrameMetadata, TheCropIsTheContentInPixels) {
  CapturedFrame frame = picture();
  EXPECT_EQ(FrameMetadata(frame).crop, std::nullopt);
  frame.contentRect = Rect{10, 20, 300, 200};
  EXPECT_EQ(FrameMetadata(frame).crop, std::nullopt);
  frame.scaleFactor = 2.0;
  EXPECT_EQ(FrameMetadata(frame).crop, (Rect{20, 40, 600, 400}));
  frame.contentRect.reset();
  EXPECT_EQ(FrameMetadata(frame).crop, std::nullopt);
}

TEST(FrameMetadata, WithoutDirtyRectanglesNothingIsKnown) {
  EXPECT_EQ(FrameMetadata(picture()).dirtyFraction, std::nullopt);
  EXPECT_EQ(changeOf(picture()), FramePacer::Change::major);
}

TEST(FrameMetadata, NoRectangleMeansNothingWasDrawn) {
  EXPECT_EQ(FrameMetadata(dirty({})).dirtyFraction, 0.0);
  EXPECT_EQ(changeOf(dirty({})), FramePacer::Change::minor);
}

TEST(FrameMetadata, DirtyRectanglesAddUp) {
  EXPECT_EQ(FrameMetadata(dirty({{0, 0, 40, 100}})).dirtyFraction, 0.004);
  EXPECT_EQ(changeOf(dirty({{0, 0, 40, 100}})), FramePacer::Change::minor);
  EXPECT_EQ(FrameMetadata(dirty({{0, 0, 50, 100}})).dirtyFraction, 0.005);
  EXPECT_EQ(changeOf(dirty({{0, 0, 50, 100}})), FramePacer::Change::major);
  EXPECT_EQ(FrameMetadata(dirty({{0, 0, 500, 500}, {0, 0, 500, 500}})).dirtyFraction, 0.5);
}

TEST(FrameMetadata, MoreThanTheWholePictureIsTheWholePicture) {
  EXPECT_EQ(FrameMetadata(dirty({{0, 0, 1000, 900}, {0, 0, 1000, 900}})).dirtyFraction, 1.0);
}

TEST(FrameMetadata, DirtyRectanglesAreInPoints) {
  CapturedFrame frame = dirty({{0, 0, 100, 100}});
  frame.scaleFactor = 2.0;
  EXPECT_EQ(FrameMetadata(frame).dirtyFraction, 0.04);
}

TEST(FrameMetadata, RectanglesThatAreNoneAreSkipped) {
  EXPECT_EQ(FrameMetadata(dirty({{0, 0, -50, 100}, {0, 0, -50, -50}, {0, 0, nan, 5}, {0, 0, 0, 9}}))
                .dirtyFraction,
            0.0);
}

TEST(FrameMetadata, ABufferWithoutPixelsTellsNothingOfTheChange) {
  CapturedFrame frame = picture(0, 100);
  frame.dirtyRects = {{0, 0, 10, 10}};
  EXPECT_EQ(FrameMetadata(frame).dirtyFraction, std::nullopt);
}

}  // namespace
}  // namespace tarvinel
