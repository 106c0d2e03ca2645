#include "app/capture/pattern/PatternCaptureError.h"
#include "app/capture/pattern/PatternCaptureService.h"
#include "app/capture/pattern/PatternPicture.h"
#include "tests/support/CaptureRun.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace tarvinel {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using testing::SizeIs;

struct PatternCapture : testing::Test {
  CaptureRun run{[](SerialQueue& queue) { return std::make_unique<PatternCaptureService>(queue); }};
};

/// The step that a frame shows, looked for from `from` on.
std::int64_t stepOf(const SeenFrame& seen, std::int64_t from) {
  MemoryPixelBuffer buffer(PatternPicture::width, PatternPicture::height);
  PatternPicture::draw(buffer, from);
  for (std::int64_t step = from; step < from + 300; ++step) {
    PatternPicture::redraw(buffer, step == from ? from : step - 1, step);
    if (std::equal(seen.pixels.begin(), seen.pixels.end(), buffer.baseAddress())) return step;
  }
  throw std::runtime_error("the frame shows no step");
}

TEST_F(PatternCapture, HasOneDisplay) {
  const auto content = run.content();
  ASSERT_THAT(content.displays, SizeIs(1));
  EXPECT_EQ(content.displays[0].displayID, 1U);
  EXPECT_EQ(content.displays[0].frame, (Rect{0, 0, 1280, 720}));
  EXPECT_TRUE(content.displays[0].isMain);
  EXPECT_THAT(content.windows, IsEmpty());
  EXPECT_THAT(content.applications, IsEmpty());
}

TEST_F(PatternCapture, BeginsWithAWholeFrameAndThenMoves) {
  run.startDisplay(1);
  const SeenFrame first = run.log().frame(0);
  EXPECT_EQ(first.frame.status, FrameStatus::complete);
  EXPECT_THAT(first.dirty(), ElementsAre(Rect{0, 0, 1280, 720}));
  EXPECT_EQ(stepOf(first, 0), 0);
  std::int64_t step = 0;
  for (std::size_t i = 1; i < 4; ++i) {
    const SeenFrame next = run.log().frame(i);
    EXPECT_EQ(next.frame.buffer, first.frame.buffer);
    EXPECT_FALSE(next.dirty().empty());
    const std::int64_t shown = stepOf(next, step);
    EXPECT_GT(shown, step);
    step = shown;
  }
}

TEST_F(PatternCapture, AfterStopNoHandlerIsCalled) {
  run.startDisplay(1);
  run.log().frame(0);
  run.stop();
  const std::size_t count = run.log().frameCount();
  CaptureRun other(
      [](SerialQueue& queue) { return std::make_unique<PatternCaptureService>(queue); });
  other.startDisplay(1);
  other.log().frame(3);
  EXPECT_EQ(run.log().frameCount(), count);
  EXPECT_EQ(run.log().stopCount(), 0U);
}

TEST_F(PatternCapture, HasNothingElse) {
  EXPECT_THROW(run.startDisplay(2), PatternCaptureError);
  ContentFilter filter;
  filter.kind = ContentFilter::Kind::window;
  filter.displayID = 1;
  EXPECT_THROW(run.start(filter, {}), PatternCaptureError);
}

}  // namespace
}  // namespace tarvinel
