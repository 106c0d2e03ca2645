#include "app/capture/CaptureEngine.h"
#include "app/capture/CaptureError.h"
#include "core/frames/JPEGWriter.h"
#include "core/frames/PixelBuffer.h"
#include "tests/app/capture/FakeCaptureService.h"
#include "tests/support/Await.h"
#include "tests/support/CapturedLog.h"
#include "tests/support/NoNumbers.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <condition_variable>
#include <deque>
#include <future>
#include <iterator>
#include <mutex>
#include <system_error>
#include <utility>

namespace tarvinel {
namespace {

using test::await;
using test::CapturedLog;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::SizeIs;

/// One call of the encoder.
struct Encoding {
  const PixelBuffer* buffer = nullptr;
  double quality = 0;
  std::optional<Rect> crop;
  double scale = 0;
  ChromaSampling chroma = ChromaSampling::full;
};

class HandDrivenTimer : public RepeatingTimer {
 public:
  explicit HandDrivenTimer(bool& running) : running_(running) {}
  void run(bool wanted) override { running_ = wanted; }

 private:
  bool& running_;
};

/// Records the sizes of what a broadcaster publishes.
class Viewer {
 public:
  explicit Viewer(FrameBroadcaster& broadcaster)
      : broadcaster_(broadcaster), identifier_(broadcaster.subscribe([this](const Frame& frame) {
          const std::scoped_lock lock(mutex_);
          sizes_.push_back(frame->size());
          arrived_.notify_all();
        })) {}
  ~Viewer() { leave(); }
  Viewer(const Viewer&) = delete;
  Viewer& operator=(const Viewer&) = delete;

  void leave() { broadcaster_.unsubscribe(identifier_); }

  std::vector<std::size_t> awaitFrames(std::size_t count) {
    std::unique_lock lock(mutex_);
    arrived_.wait(lock, [&] { return sizes_.size() >= count; });
    return sizes_;
  }

 private:
  std::mutex mutex_;
  std::condition_variable arrived_;
  std::vector<std::size_t> sizes_;  // guarded by mutex_
  FrameBroadcaster& broadcaster_;
  const UUID identifier_;
};

class CaptureEngineTest : public testing::Test {
 protected:
  CaptureEngineTest() {
    const ShareableApplication editor{100, "Editor", "org.example.Editor"};
    screen.content.displays = {{1, {0, 0, 1512, 982}, true}};
    screen.content.windows = {{7, "notes", editor, 0, {0, 0, 800, 600}}};
  }

  std::unique_ptr<ScreenCaptureService> makeService(SerialQueue& queue) {
    if (screen.serviceFailure) std::rethrow_exception(screen.serviceFailure);
    screen.queue = &queue;
    return std::make_unique<FakeCaptureService>(screen);
  }

  CaptureTools tools() {
    return {
        [this] { return now; },
        [this](PixelBuffer& buffer, double quality, const std::optional<Rect>& crop, double scale,
               ChromaSampling chroma) { return encode({&buffer, quality, crop, scale, chroma}); },
        [this](SerialQueue& queue, std::function<void()> onTick) {
          captureQueue = &queue;
          tick = std::move(onTick);
          return std::make_unique<HandDrivenTimer>(timerRuns);
        }};
  }

  Frame encode(const Encoding& encoding) {
    encodings.push_back(encoding);
    if (encodeFailure) std::rethrow_exception(encodeFailure);
    std::size_t size = 1;
    if (!sizes.empty()) {
      size = sizes.front();
      sizes.pop_front();
    }
    return std::make_shared<const Bytes>(size);
  }

  // Driving the engine

  template <class Task>
  auto onQueue(Task task) {
    return captureQueue->sync(task);
  }

  Result<std::vector<CaptureSource>> list() {
    return await<std::vector<CaptureSource>>(
        [this](auto completion) { engine.listSources(std::nullopt, completion); });
  }

  Result<void> start(const CaptureSource& source, const TarvinelConfig& config = {}) {
    return await<void>([&](auto completion) { engine.start(source, config, completion); });
  }

  Result<void> stop() {
    return await<void>([this](auto completion) { engine.stop(completion); });
  }

  CaptureSource displaySource() { return list().value().at(0); }
  void capture(const TarvinelConfig& config = {}) { start(displaySource(), config).value(); }

  std::shared_ptr<FakeScreen::Stream> stream(std::size_t index = 0) {
    return onQueue([&] { return screen.streams.at(index); });
  }

  void deliver(const CapturedFrame& frame, double at, std::size_t index = 0) {
    onQueue([&] {
      now = at;
      screen.streams.at(index)->handlers.onFrame(frame);
    });
  }

  void tickAt(double at) {
    onQueue([&] {
      now = at;
      tick();
    });
  }

  static CapturedFrame picture(std::size_t width = 3024, std::size_t height = 1964) {
    CapturedFrame frame;
    frame.buffer = std::make_shared<MemoryPixelBuffer>(width, height);
    frame.status = FrameStatus::complete;
    return frame;
  }

  std::size_t encodingCount() {
    return onQueue([this] { return encodings.size(); });
  }
  Encoding lastEncoding() {
    return onQueue([this] { return encodings.back(); });
  }

  std::vector<std::string> logSince(std::size_t first) const {
    const auto lines = log.lines();
    return {lines.begin() + static_cast<std::ptrdiff_t>(first), lines.end()};
  }

  // used on the capture queue only
  FakeScreen screen;
  double now = 0;
  bool timerRuns = false;
  std::vector<Encoding> encodings;
  std::deque<std::size_t> sizes;
  std::exception_ptr encodeFailure;

  SerialQueue* captureQueue = nullptr;
  std::function<void()> tick;
  CapturedLog log;
  FrameBroadcaster broadcaster;
  Viewer viewer{broadcaster};
  CaptureEngine engine{broadcaster, log.category("capture"),
                       [this](SerialQueue& queue) { return makeService(queue); }, tools()};
};

std::string textOf(const std::exception_ptr& error) {
  return describe(error);
}

constexpr const char* stale = "That source is no longer available. Pick another.";

// Listing

TEST_F(CaptureEngineTest, ListsSourcesInMenuOrder) {
  const auto sources = list();
  ASSERT_TRUE(sources.ok());
  ASSERT_THAT(sources.value(), SizeIs(3));
  EXPECT_EQ(sources.value().at(0).title, "Display 1 (main) 1512×982");
  EXPECT_EQ(sources.value().at(1).title, "Editor (app)");
  EXPECT_EQ(sources.value().at(2).title, "Editor: notes");
  EXPECT_THAT(log.lines(), ElementsAre("capture|info|sources: 1 displays, 1 windows, 1 apps"));
}

TEST_F(CaptureEngineTest, ListingLeavesOutTheProgramItself) {
  const auto sources = await<std::vector<CaptureSource>>(
      [this](auto completion) { engine.listSources("org.example.Editor", completion); });
  EXPECT_THAT(sources.value(), SizeIs(1));
}

TEST_F(CaptureEngineTest, AFailedListingMeansMissingPermission) {
  screen.listFailure = failure("not allowed");
  EXPECT_THAT(textOf(list().error()), HasSubstr("Screen Recording permission is required."));
  EXPECT_THAT(log.lines(), ElementsAre("capture|error|shareable content failed: not allowed"));
}

TEST_F(CaptureEngineTest, AServiceThatCannotBeMadeFailsTheListingAndIsTriedAgain) {
  screen.serviceFailure = failure("no display");
  EXPECT_FALSE(list().ok());
  EXPECT_THAT(log.lines(), ElementsAre("capture|error|shareable content failed: no display"));
  onQueue([this] { screen.serviceFailure = nullptr; });
  EXPECT_TRUE(list().ok());
}

// Starting

TEST_F(CaptureEngineTest, StartsTheSourceAtTheConfiguredSize) {
  capture();
  const auto started = stream();
  EXPECT_EQ(started->filter.kind, ContentFilter::Kind::display);
  EXPECT_EQ(started->filter.displayID, 1U);
  EXPECT_EQ(started->configuration.width, 3024);
  EXPECT_EQ(started->configuration.height, 1964);
  EXPECT_EQ(started->configuration.framesPerSecond, 20);
  EXPECT_TRUE(started->configuration.showsCursor);
  EXPECT_THAT(logSince(1), ElementsAre("capture|info|capturing Display 1 (main) 1512×982 at "
                                       "3024x1964 20 fps"));
}

TEST_F(CaptureEngineTest, ATinySourceIsConfiguredAtTwoByTwo) {
  CaptureSource source = displaySource();
  source.size = {1, 1};
  TarvinelConfig config;
  config.scale = 1.0;
  start(source, config).value();
  EXPECT_EQ(stream()->configuration.width, 2);
  EXPECT_EQ(stream()->configuration.height, 2);
}

TEST_F(CaptureEngineTest, StartsWindowsAndApplications) {
  const auto sources = list().value();
  start(sources.at(1)).value();
  EXPECT_EQ(stream(0)->filter.kind, ContentFilter::Kind::application);
  EXPECT_EQ(stream(0)->filter.processID, 100);
  EXPECT_EQ(stream(0)->filter.displayID, 1U);
  start(sources.at(2)).value();
  EXPECT_EQ(stream(1)->filter.kind, ContentFilter::Kind::window);
  EXPECT_EQ(stream(1)->filter.windowID, 7U);
}

TEST_F(CaptureEngineTest, ASourceThatIsGoneSinceTheListingCannotBeStarted) {
  const CaptureSource window = list().value().at(2);
  onQueue([this] { screen.content.windows.clear(); });
  list();
  EXPECT_EQ(textOf(start(window).error()), stale);
  EXPECT_TRUE(onQueue([this] { return screen.streams.empty(); }));
}

TEST_F(CaptureEngineTest, NothingCanBeStartedBeforeAListing) {
  EXPECT_EQ(textOf(start({"display-1", CaptureSource::Kind::display, "", {10, 10}}).error()),
            stale);
  EXPECT_THAT(log.lines(), IsEmpty());
}

TEST_F(CaptureEngineTest, AStreamThatCannotBeMadeFailsTheStart) {
  const CaptureSource source = displaySource();
  onQueue([this] { screen.makeFailure = failure("no output"); });
  EXPECT_EQ(textOf(start(source).error()), "no output");
  EXPECT_THAT(logSince(1), IsEmpty());
}

TEST_F(CaptureEngineTest, AStreamThatDoesNotStartIsDropped) {
  const CaptureSource source = displaySource();
  onQueue([this] { screen.startFailure = failure("refused"); });
  EXPECT_EQ(textOf(start(source).error()), "refused");
  EXPECT_THAT(logSince(1), ElementsAre("capture|error|startCapture failed for Display 1 (main) "
                                       "1512×982: refused"));
  deliver(picture(), 1.0);
  EXPECT_EQ(encodingCount(), 0U);
  stop().value();
  EXPECT_THAT(logSince(2), IsEmpty());
}

TEST_F(CaptureEngineTest, AStartStopsTheStreamThatRuns) {
  capture();
  deliver(picture(), 1.0);
  capture();
  EXPECT_TRUE(stream(0)->stopped);
  EXPECT_FALSE(stream(1)->stopped);
  EXPECT_EQ(log.lines().at(3), "capture|info|capture stopped");
  deliver(picture(), 2.0, 0);
  EXPECT_EQ(encodingCount(), 1U);
  deliver(picture(), 2.0, 1);
  EXPECT_EQ(encodingCount(), 2U);
}

TEST_F(CaptureEngineTest, WhatIsSharedGoesOnWhileThePresenterIsAskedAndAfterARefusal) {
  capture();
  const CaptureSource source = displaySource();
  onQueue([this] { screen.holdStarts = true; });
  std::promise<Result<void>> asked;
  engine.start(source, {}, [&](const Result<void>& result) { asked.set_value(result); });
  deliver(picture(), 1.0, 0);
  EXPECT_EQ(encodingCount(), 1U);
  onQueue([this] {
    screen.streams.at(1)->pendingStart(std::make_exception_ptr(
        std::system_error(std::make_error_code(std::errc::operation_canceled))));
  });
  EXPECT_FALSE(asked.get_future().get().ok());
  EXPECT_FALSE(stream(0)->stopped);
  deliver(picture(), 2.0, 0);
  EXPECT_EQ(encodingCount(), 2U);
}

TEST_F(CaptureEngineTest, AStartThatFailsEndsWhatWasShared) {
  capture();
  const CaptureSource source = displaySource();
  onQueue([this] { screen.startFailure = failure("no screen"); });
  EXPECT_EQ(textOf(start(source).error()), "no screen");
  EXPECT_TRUE(stream(0)->stopped);
}

TEST_F(CaptureEngineTest, AnotherStartTakesThePlaceOfTheOneThatWaits) {
  const CaptureSource source = displaySource();
  onQueue([this] { screen.holdStarts = true; });
  std::promise<Result<void>> first;
  engine.start(source, {}, [&](const Result<void>& result) { first.set_value(result); });
  onQueue([this] { screen.holdStarts = false; });
  start(source).value();
  EXPECT_TRUE(isRefusal(first.get_future().get().error()));
  EXPECT_TRUE(stream(0)->stopped);
  deliver(picture(), 1.0, 1);
  EXPECT_EQ(encodingCount(), 1U);
}

TEST_F(CaptureEngineTest, AStopEndsWhatIsSharedAndWhatIsAskedFor) {
  capture();
  const CaptureSource source = displaySource();
  onQueue([this] { screen.holdStarts = true; });
  std::promise<Result<void>> asked;
  engine.start(source, {}, [&](const Result<void>& result) { asked.set_value(result); });
  stop().value();
  EXPECT_TRUE(isRefusal(asked.get_future().get().error()));
  EXPECT_TRUE(stream(0)->stopped);
  EXPECT_TRUE(stream(1)->stopped);
}

TEST_F(CaptureEngineTest, WhatIsSharedMayEndWhileThePresenterIsAsked) {
  capture();
  const CaptureSource source = displaySource();
  onQueue([this] { screen.holdStarts = true; });
  std::promise<Result<void>> asked;
  engine.start(source, {}, [&](const Result<void>& result) { asked.set_value(result); });
  onQueue([this] {
    screen.streams.at(0)->handlers.onStop(failure("closed"));
    screen.streams.at(1)->pendingStart({});
  });
  EXPECT_TRUE(asked.get_future().get().ok());
  deliver(picture(), 1.0, 1);
  EXPECT_EQ(encodingCount(), 1U);
}

TEST_F(CaptureEngineTest, AStartThatWaitsGoesWithTheEngineOnItsQueue) {
  screen.holdStarts = true;
  {
    CaptureEngine leaving{broadcaster, log.category("capture"),
                          [this](SerialQueue& queue) { return makeService(queue); }, tools()};
    const auto sources = await<std::vector<CaptureSource>>(
        [&](auto completion) { leaving.listSources(std::nullopt, completion); });
    leaving.start(sources.value().at(0), {}, [](const Result<void>&) {});
  }
  ASSERT_EQ(screen.streams.size(), 1U);
  EXPECT_TRUE(screen.streams.front()->goneOnQueue);
}

TEST_F(CaptureEngineTest, AStaleStartLeavesNothingRunning) {
  capture();
  EXPECT_EQ(textOf(start({"window-99", CaptureSource::Kind::window, "", {10, 10}}).error()), stale);
  EXPECT_TRUE(stream()->stopped);
}

TEST_F(CaptureEngineTest, AStopWhileStartingCancelsTheStart) {
  const CaptureSource source = displaySource();
  onQueue([this] { screen.holdStarts = true; });
  std::promise<Result<void>> started;
  engine.start(source, {}, [&](const Result<void>& result) { started.set_value(result); });
  stop().value();
  try {
    started.get_future().get().value();
    FAIL() << "started";
  } catch (const std::system_error& error) {
    EXPECT_EQ(error.code(), std::errc::operation_canceled);
  }
  EXPECT_TRUE(stream()->stopped);
  onQueue([this] { screen.streams.at(0)->pendingStart({}); });  // too late
  EXPECT_THAT(logSince(1), ElementsAre("capture|info|capture stopped"));
}

TEST_F(CaptureEngineTest, AStreamThatStopsWhileStartingFailsTheStart) {
  const CaptureSource source = displaySource();
  onQueue([this] { screen.holdStarts = true; });
  std::promise<Result<void>> started;
  engine.start(source, {}, [&](const Result<void>& result) { started.set_value(result); });
  onQueue([this] { screen.streams.at(0)->handlers.onStop(failure("closed")); });
  EXPECT_EQ(textOf(started.get_future().get().error()), "closed");
}

TEST_F(CaptureEngineTest, WhatIsSharedOrAboutToBeStaysListedWhileItExists) {
  const auto idOf = [](const CaptureSource& source) { return source.id; };
  const auto listed = [&] {
    std::vector<std::string> ids;
    std::ranges::transform(list().value(), std::back_inserter(ids), idOf);
    return ids;
  };
  const auto sources = list().value();
  start(*std::ranges::find(sources, "window-7", idOf)).value();
  onQueue([this] { screen.holdStarts = true; });
  engine.start(*std::ranges::find(sources, "app-100", idOf), {}, [](const Result<void>&) {});
  onQueue([this] { screen.content.windowsOutOfSight = std::move(screen.content.windows); });
  EXPECT_THAT(listed(), ElementsAre("display-1", "app-100", "window-7"));
  stop().value();
  EXPECT_THAT(listed(), ElementsAre("display-1"));
}

// Stopping

TEST_F(CaptureEngineTest, StopEndsTheStream) {
  capture();
  EXPECT_TRUE(stop().ok());
  EXPECT_TRUE(stream()->stopped);
  EXPECT_THAT(logSince(2), ElementsAre("capture|info|capture stopped"));
}

TEST_F(CaptureEngineTest, StopWithoutAStreamLogsNothing) {
  EXPECT_TRUE(stop().ok());
  EXPECT_THAT(log.lines(), IsEmpty());
}

TEST_F(CaptureEngineTest, AStopThatFailsStillReturns) {
  capture();
  onQueue([this] { screen.stopFailure = failure("stuck"); });
  EXPECT_TRUE(stop().ok());
  EXPECT_THAT(logSince(2), ElementsAre("capture|error|stopCapture: stuck"));
  EXPECT_TRUE(stop().ok());
  EXPECT_THAT(logSince(3), IsEmpty());
}

TEST_F(CaptureEngineTest, AfterAStopTheSettleTimerSendsNothing) {
  capture();
  deliver(picture(), 1.0);
  EXPECT_TRUE(onQueue([this] { return timerRuns; }));
  stop().value();
  EXPECT_FALSE(onQueue([this] { return timerRuns; }));
  tickAt(1.6);
  EXPECT_EQ(encodingCount(), 1U);
}

TEST_F(CaptureEngineTest, NoFrameIsPublishedAfterTheStopCompleted) {
  capture();
  deliver(picture(), 1.0);
  stop().value();
  broadcaster.clearLatest();
  onQueue([] {});
  EXPECT_EQ(broadcaster.latest(), nullptr);
}

TEST_F(CaptureEngineTest, AStreamThatStopsByItselfIsReportedAndDropped) {
  std::promise<std::string> reported;
  engine.setOnStop([&](std::uint64_t /*capture*/, const Result<void>& why) {
    reported.set_value(textOf(why.error()));
  });
  capture();
  deliver(picture(), 1.0);
  onQueue([this] { screen.streams.at(0)->handlers.onStop(failure("display unplugged")); });
  EXPECT_EQ(reported.get_future().get(), "display unplugged");
  EXPECT_THAT(logSince(2), ElementsAre("capture|error|stream stopped: display unplugged"));
  tickAt(1.6);
  deliver(picture(), 2.0);
  EXPECT_EQ(encodingCount(), 1U);
  stop().value();
  EXPECT_THAT(logSince(3), IsEmpty());
}

TEST_F(CaptureEngineTest, AStreamThatStopsByItselfNeedsNobodyToListen) {
  capture();
  onQueue([this] { screen.streams.at(0)->handlers.onStop(failure("gone")); });
  EXPECT_THAT(logSince(2), ElementsAre("capture|error|stream stopped: gone"));
}

TEST_F(CaptureEngineTest, ALateReportOfAnOlderStreamLeavesTheCurrentOneAlone) {
  const CaptureSource source = displaySource();
  const auto startNumbered = [&] {
    std::promise<void> done;
    const auto number =
        engine.start(source, {}, [&](const Result<void>& /*outcome*/) { done.set_value(); });
    done.get_future().wait();
    return number;
  };
  std::promise<std::pair<std::uint64_t, std::string>> reported;
  engine.setOnStop([&](std::uint64_t capture, const Result<void>& why) {
    reported.set_value({capture, textOf(why.error())});
  });
  const std::uint64_t first = startNumbered();
  EXPECT_NE(startNumbered(), first);
  onQueue([this] { screen.streams.at(0)->handlers.onStop(failure("old")); });
  EXPECT_EQ(reported.get_future().get(), std::pair(first, std::string("old")));
  EXPECT_EQ(log.lines().back(), "capture|error|stream stopped: old");
  deliver(picture(), 1.0, 1);
  EXPECT_EQ(encodingCount(), 1U);
  EXPECT_FALSE(stream(1)->stopped);
}

// Frames

TEST_F(CaptureEngineTest, MotionComesAtOnePixelPerPointAndSettlesAtFullSize) {
  capture();
  const CapturedFrame frame = picture();
  deliver(frame, 1.0);
  const Encoding motion = lastEncoding();
  EXPECT_EQ(motion.buffer, frame.buffer.get());
  EXPECT_EQ(motion.quality, 0.7);
  EXPECT_EQ(motion.scale, 0.5);
  EXPECT_EQ(motion.chroma, ChromaSampling::quartered);
  EXPECT_EQ(motion.crop, std::nullopt);
  for (const double at : {1.1, 1.2, 1.3, 1.4})
    tickAt(at);
  EXPECT_EQ(encodingCount(), 1U);
  tickAt(1.5);
  const Encoding crisp = lastEncoding();
  EXPECT_EQ(crisp.buffer, frame.buffer.get());
  EXPECT_EQ(crisp.quality, 0.92);
  EXPECT_EQ(crisp.scale, 1.0);
  EXPECT_EQ(crisp.chroma, ChromaSampling::full);
  tickAt(1.6);
  EXPECT_EQ(encodingCount(), 2U);
}

TEST_F(CaptureEngineTest, AtScaleOneMotionAndCrispFramesHaveTheSameSize) {
  TarvinelConfig config;
  config.scale = 1.0;
  config.jpegQuality = 0.8;
  config.motionQuality = 0.4;
  capture(config);
  deliver(picture(1512, 982), 1.0);
  EXPECT_EQ(lastEncoding().scale, 1.0);
  EXPECT_EQ(lastEncoding().quality, 0.4);
  tickAt(1.5);
  EXPECT_EQ(lastEncoding().scale, 1.0);
  EXPECT_EQ(lastEncoding().quality, 0.8);
}

TEST_F(CaptureEngineTest, AFrameMayTellTheSizeThatTheListingCouldNot) {
  capture();
  CapturedFrame frame = picture(5120, 2880);
  frame.sourceSize = Size{2560, 1440};
  deliver(frame, 1.0);
  EXPECT_EQ(lastEncoding().scale, 0.5);
  tickAt(1.5);
  EXPECT_EQ(lastEncoding().scale, 1.0);
}

TEST_F(CaptureEngineTest, APlainScreenIsNotReduced) {
  capture();
  deliver(picture(1512, 982), 1.0);
  EXPECT_EQ(lastEncoding().scale, 1.0);
  tickAt(1.5);
  EXPECT_EQ(lastEncoding().scale, 1.0);
}

TEST_F(CaptureEngineTest, TheContentIsCutOutAndFitted) {
  capture();
  CapturedFrame frame = picture(4000, 2000);
  frame.contentRect = Rect{10, 20, 756, 491};
  frame.scaleFactor = 2.0;
  deliver(frame, 1.0);
  EXPECT_EQ(lastEncoding().crop, (Rect{20, 40, 1512, 982}));
  EXPECT_EQ(lastEncoding().scale, 1.0);
  tickAt(1.5);
  EXPECT_EQ(lastEncoding().crop, (Rect{20, 40, 1512, 982}));
}

TEST_F(CaptureEngineTest, AnIdleFrameLetsTheSettledFrameOutOfTheLastCompleteOne) {
  capture();
  const CapturedFrame complete = picture();
  deliver(complete, 1.0);
  CapturedFrame idle = picture();
  idle.status = FrameStatus::idle;
  idle.contentRect = Rect{0, 0, 5, 5};
  idle.scaleFactor = 1.0;
  deliver(idle, 1.25);
  EXPECT_EQ(encodingCount(), 1U);
  deliver(idle, 1.5);
  EXPECT_EQ(encodingCount(), 2U);
  EXPECT_EQ(lastEncoding().buffer, complete.buffer.get());
  EXPECT_EQ(lastEncoding().crop, std::nullopt);
  EXPECT_EQ(lastEncoding().chroma, ChromaSampling::full);
}

TEST_F(CaptureEngineTest, FramesThatCarryNothingAreDropped) {
  capture();
  CapturedFrame blank = picture();
  for (const FrameStatus status :
       {FrameStatus::blank, FrameStatus::suspended, FrameStatus::started, FrameStatus::stopped}) {
    blank.status = status;
    deliver(blank, 1.0);
  }
  deliver({}, 1.0);
  EXPECT_EQ(encodingCount(), 0U);
  EXPECT_FALSE(onQueue([this] { return timerRuns; }));
}

TEST_F(CaptureEngineTest, AFrameWithoutAStatusIsComplete) {
  capture();
  CapturedFrame frame = picture();
  frame.status.reset();
  deliver(frame, 1.0);
  EXPECT_EQ(encodingCount(), 1U);
}

TEST_F(CaptureEngineTest, SmallChangesGoOutAtTheMinorRate) {
  capture();
  CapturedFrame caret = picture();
  caret.dirtyRects = {{0, 0, 8, 17}};
  deliver(caret, 1.0);
  deliver(caret, 1.25);
  EXPECT_EQ(encodingCount(), 1U);
  deliver(caret, 1.5);
  EXPECT_EQ(encodingCount(), 2U);
  deliver(picture(), 1.625);
  EXPECT_EQ(encodingCount(), 3U);
}

TEST_F(CaptureEngineTest, TheMotionRateCanBeChangedAndIsAtLeastOne) {
  capture();
  engine.setMotionFPS(-3);
  deliver(picture(), 1.0);
  deliver(picture(), 1.9);
  EXPECT_EQ(encodingCount(), 1U);
  engine.setMotionFPS(20);
  deliver(picture(), 1.95);
  EXPECT_EQ(encodingCount(), 2U);
}

TEST_F(CaptureEngineTest, AStartBeginsAtTheConfiguredMotionRateElseAtEight) {
  TarvinelConfig config;
  config.motionFps = 20;
  capture(config);
  deliver(picture(), 1.0);
  deliver(picture(), 1.05);
  EXPECT_EQ(encodingCount(), 2U);
  capture();
  deliver(picture(), 1.06, 1);  // at once: the new share knows no earlier frame
  deliver(picture(), 1.16, 1);
  EXPECT_EQ(encodingCount(), 3U);
  deliver(picture(), 1.19, 1);
  EXPECT_EQ(encodingCount(), 4U);
}

TEST_F(CaptureEngineTest, TheTimerRunsOnlyWhileASettledFrameIsDue) {
  const auto runs = [this] { return onQueue([this] { return timerRuns; }); };
  EXPECT_FALSE(runs());
  capture();
  EXPECT_FALSE(runs());
  deliver(picture(), 1.0);
  EXPECT_TRUE(runs());
  tickAt(1.1);
  EXPECT_TRUE(runs());
  tickAt(1.5);
  EXPECT_FALSE(runs());
  deliver(picture(), 2.0);
  EXPECT_TRUE(runs());
}

TEST_F(CaptureEngineTest, PublishesInOrder) {
  sizes = {11, 12, 13};
  capture();
  deliver(picture(), 1.0);
  viewer.awaitFrames(1);
  deliver(picture(), 2.0);
  viewer.awaitFrames(2);
  tickAt(2.5);
  EXPECT_THAT(viewer.awaitFrames(3), ElementsAre(11, 12, 13));
}

TEST_F(CaptureEngineTest, AveragesTheSizesOfMotionFramesOnly) {
  EXPECT_EQ(engine.motionBytesAverage(), 0);
  sizes = {10000, 999999, 20000, 20000};
  capture();
  deliver(picture(), 1.0);
  EXPECT_DOUBLE_EQ(engine.motionBytesAverage(), 10000);
  tickAt(1.5);
  EXPECT_DOUBLE_EQ(engine.motionBytesAverage(), 10000);
  deliver(picture(), 2.0);
  EXPECT_DOUBLE_EQ(engine.motionBytesAverage(), 12000);
  deliver(picture(), 3.0);
  EXPECT_DOUBLE_EQ(engine.motionBytesAverage(), 13600);
}

TEST_F(CaptureEngineTest, WithoutViewersNothingIsEncodedUntilOneJoins) {
  viewer.leave();
  capture();
  deliver(picture(), 1.0);
  tickAt(1.5);
  EXPECT_EQ(encodingCount(), 0U);
  EXPECT_TRUE(engine.hasSentFrame());
  Viewer first(broadcaster);
  first.awaitFrames(1);
  EXPECT_EQ(lastEncoding().quality, 0.92);
  Viewer second(broadcaster);
  second.awaitFrames(1);
  EXPECT_EQ(encodingCount(), 1U);
}

TEST_F(CaptureEngineTest, AFrameThatIsOutOfDateIsNotRetained) {
  capture();
  deliver(picture(), 1.0);
  viewer.awaitFrames(1);
  viewer.leave();
  EXPECT_NE(broadcaster.latest(), nullptr);
  deliver(picture(), 3.0);
  EXPECT_EQ(broadcaster.latest(), nullptr);
}

TEST_F(CaptureEngineTest, ViewersOfTilesNeedNoFrames) {
  viewer.leave();
  broadcaster.subscribeToTiles([](const TilePicture&) {});
  capture();
  deliver(picture(), 1.0);
  tickAt(1.5);
  EXPECT_EQ(encodingCount(), 0U);
  EXPECT_TRUE(broadcaster.hasTiles());
  EXPECT_TRUE(engine.hasSentFrame());
}

TEST_F(CaptureEngineTest, APictureThatCannotBeMadeOfTilesIsSentWhole) {
  viewer.leave();
  std::atomic<int> whole{0};
  const UUID identifier = broadcaster.subscribeToTiles([&whole](const TilePicture& picture) {
    whole += picture.whole != nullptr ? 1 : 0;
    whole.notify_one();
  });
  capture();
  deliver(picture(70000, 1), 1.0);
  EXPECT_EQ(encodingCount(), 1U);
  whole.wait(0);
  EXPECT_EQ(whole, 1);
  broadcaster.unsubscribe(identifier);
}

TEST_F(CaptureEngineTest, AFrameThatCannotBeEncodedIsLoggedAndDropped) {
  capture();
  onQueue([this] {
    encodeFailure = std::make_exception_ptr(JPEGEncodeError::unsupportedPixelFormat(875704438));
  });
  deliver(picture(640, 480), 1.0);
  EXPECT_THAT(logSince(2), ElementsAre("capture|error|encode failed 640x480: "
                                       "unsupportedPixelFormat(875704438)"));
  EXPECT_EQ(engine.motionBytesAverage(), 0);
  onQueue([this] {
    encodeFailure = nullptr;
    sizes = {5};
  });
  deliver(picture(), 2.0);
  EXPECT_THAT(viewer.awaitFrames(1), ElementsAre(5));
}

TEST_F(CaptureEngineTest, NewCapturesKnowNothingOfTheOldPicture) {
  capture();
  deliver(picture(), 1.0);
  capture();
  tickAt(1.6);
  EXPECT_EQ(encodingCount(), 1U);
}

TEST(CaptureEngineDeathTest, SizesAndRatesThatAreNoNumbersStopTheProgram) {
  const auto run = [](double width, std::int64_t fps) {
    FakeScreen screen;
    screen.content.displays = {{1, {0, 0, width, 100}, true}};
    FrameBroadcaster broadcaster;
    CaptureEngine engine(broadcaster, Log::silent().category("capture"), [&](SerialQueue&) {
      return std::make_unique<FakeCaptureService>(screen);
    });
    const auto sources = await<std::vector<CaptureSource>>(
        [&](auto completion) { engine.listSources(std::nullopt, completion); });
    TarvinelConfig config;
    config.fps = fps;
    await<void>([&](auto completion) { engine.start(sources.value().at(0), config, completion); });
  };
  testing::FLAGS_gtest_death_test_style = "threadsafe";
  EXPECT_DEATH(run(infinity, 20), "captured size");
  EXPECT_DEATH(run(100, std::int64_t{1} << 40), "frame rate");
}

TEST(CaptureEngine, WithTheRealToolsAPictureBecomesAJPEGAndSettles) {
  FakeScreen screen;
  screen.content.displays = {{1, {0, 0, 64, 48}, true}};
  FrameBroadcaster broadcaster;
  Viewer viewer(broadcaster);
  SerialQueue* queue = nullptr;
  CaptureEngine engine(broadcaster, Log::silent().category("capture"), [&](SerialQueue& its) {
    queue = &its;
    return std::make_unique<FakeCaptureService>(screen);
  });
  const auto sources = await<std::vector<CaptureSource>>(
      [&](auto completion) { engine.listSources(std::nullopt, completion); });
  await<void>([&](auto completion) { engine.start(sources.value().at(0), {}, completion); });
  CapturedFrame frame;
  frame.buffer = std::make_shared<MemoryPixelBuffer>(128, 96);
  queue->sync([&] { screen.streams.at(0)->handlers.onFrame(frame); });
  const auto sizes = viewer.awaitFrames(2);
  EXPECT_LT(sizes.at(0), sizes.at(1));
  EXPECT_EQ(broadcaster.latest()->front(), 0xFF);
}

}  // namespace
}  // namespace tarvinel
