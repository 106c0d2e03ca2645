#include "app/capture/CaptureEngine.h"
#include "app/capture/pattern/Picture.h"
#include "app/capture/pattern/Service.h"
#include "core/frames/JPEGWriter.h"
#include "tests/support/Await.h"
#include "tests/support/CaptureRun.h"
#include "tests/support/CapturedLog.h"
#include "tests/support/Eventually.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <functional>
#include <memory>
#include <mutex>
#include <utility>
#include <vector>

namespace tarvinel::pattern {
namespace {

using testing::AnyOf;
using testing::Each;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::SizeIs;

struct PatternCapture : testing::Test {
  CaptureRun run{[](SerialQueue& queue) { return std::make_unique<Service>(queue); }};
};

/// Returns the step that a frame shows, searching upwards from `from`.
std::int64_t stepOf(const SeenFrame& seen, std::int64_t from) {
  MemoryPixelBuffer buffer(Picture::pixelWidth, Picture::pixelHeight);
  Picture::draw(buffer, from);
  for (std::int64_t step = from; step < from + 300; ++step) {
    Picture::redraw(buffer, step == from ? from : step - 1, step);
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
}

TEST_F(PatternCapture, BeginsWithAWholeFrameAndThenMoves) {
  run.startDisplay(1);
  const SeenFrame first = run.log().frame(0);
  EXPECT_EQ(first.frame.status, FrameStatus::complete);
  EXPECT_EQ(first.width, 2560U);
  EXPECT_EQ(first.height, 1440U);
  EXPECT_EQ(first.frame.scaleFactor, 2);
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
  CaptureRun other([](SerialQueue& queue) { return std::make_unique<Service>(queue); });
  other.startDisplay(1);
  other.log().frame(3);
  EXPECT_EQ(run.log().frameCount(), count);
  EXPECT_EQ(run.log().stopCount(), 0U);
}

/// Encodes the real picture; the test controls only the time by which it settles.
class PatternAtScale : public testing::TestWithParam<std::pair<double, PixelSize>> {
 protected:
  struct NoTimer : RepeatingTimer {
    void run(bool /*wanted*/) override {}
  };

  PatternAtScale() {
    broadcaster.subscribe([this](const Frame& frame) {
      const std::scoped_lock lock(mutex);
      sizes.push_back(sizeOfJPEG(*frame).value());
    });
  }

  CaptureTools tools() {
    CaptureTools made = CaptureTools::system();
    made.uptime = [this] { return now; };
    made.makeSettleTimer = [this](SerialQueue& queue, std::function<void()> onTick) {
      captureQueue = &queue;
      tick = std::move(onTick);
      return std::make_unique<NoTimer>();
    };
    return made;
  }

  void share(const TarvinelConfig& config) {
    const auto sources = test::await<std::vector<CaptureSource>>(
        [this](auto completion) { engine.listSources(std::nullopt, completion); });
    const CaptureSource source = sources.value().at(0);
    test::await<void>([&](auto completion) { engine.start(source, config, completion); }).value();
  }

  void settle() {
    captureQueue->sync([this] {
      now += 10;
      tick();
    });
  }

  std::vector<PixelSize> seen() {
    const std::scoped_lock lock(mutex);
    return sizes;
  }

  double now = 1;  // seconds; used on the capture queue only
  std::function<void()> tick;
  SerialQueue* captureQueue = nullptr;
  std::mutex mutex;
  std::vector<PixelSize> sizes;  // guarded by mutex
  test::CapturedLog log;
  FrameBroadcaster broadcaster;
  CaptureEngine engine{broadcaster, log.category("capture"),
                       [](SerialQueue& queue) { return std::make_unique<Service>(queue); },
                       tools()};
};

TEST_P(PatternAtScale, MovesAtOnePixelPerPointAndSettlesAtTheScale) {
  TarvinelConfig config;
  config.scale = GetParam().first;
  share(config);
  const PixelSize moving{1280, 720};
  const PixelSize settled = GetParam().second;
  ASSERT_TRUE(test::eventually([this] { return !seen().empty(); }));
  EXPECT_EQ(seen().front(), moving);
  // the picture keeps moving: a settled frame may be overtaken by the next motion frame
  EXPECT_TRUE(test::eventually([&] {
    settle();
    return seen().size() > 1 && seen().back() == settled;
  }));
  EXPECT_THAT(seen(), Each(AnyOf(moving, settled)));
}

INSTANTIATE_TEST_SUITE_P(Scales, PatternAtScale,
                         testing::Values(std::pair(1.0, PixelSize{1280, 720}),
                                         std::pair(1.5, PixelSize{1920, 1080}),
                                         std::pair(2.0, PixelSize{2560, 1440})));

TEST_F(PatternCapture, HasNothingElse) {
  EXPECT_THROW(run.startDisplay(2), Error);
  ContentFilter filter;
  filter.kind = ContentFilter::Kind::window;
  filter.displayID = 1;
  EXPECT_THROW(run.start(filter, {}), Error);
}

}  // namespace
}  // namespace tarvinel::pattern
