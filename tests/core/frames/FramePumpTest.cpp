#include "core/frames/FramePump.h"
#include "tests/support/FrameOf.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <future>
#include <vector>

namespace tarvinel {
namespace {

using testing::ElementsAre;

/// A viewer that can block on the first frame.
class BlockingViewer {
 public:
  explicit BlockingViewer(FrameBroadcaster& broadcaster) {
    broadcaster.subscribe([this](const Frame& frame) {
      sizes.push_back(frame->size());
      if (sizes.size() == 1) {
        firstArrived.set_value();
        mayGoOn.get_future().wait();
      }
    });
  }

  std::vector<std::size_t> sizes;
  std::promise<void> firstArrived;
  std::promise<void> mayGoOn;
};

void waitUntilPublished(FramePump& pump) {
  std::promise<void> published;
  pump.afterPublishing([&] { published.set_value(); });
  published.get_future().wait();
}

TEST(FramePump, PublishesInOrder) {
  FrameBroadcaster broadcaster;
  BlockingViewer viewer(broadcaster);
  viewer.mayGoOn.set_value();
  FramePump pump(broadcaster);
  for (std::size_t i = 1; i <= 3; ++i) {
    pump.offer(frameOf(i));
    waitUntilPublished(pump);
  }
  EXPECT_THAT(viewer.sizes, ElementsAre(1, 2, 3));
}

TEST(FramePump, ABusyBroadcasterGetsOnlyTheNewestAndHoldsNobodyUp) {
  FrameBroadcaster broadcaster;
  BlockingViewer viewer(broadcaster);
  FramePump pump(broadcaster);
  pump.offer(frameOf(1));
  viewer.firstArrived.get_future().wait();
  for (std::size_t i = 2; i <= 100; ++i)
    pump.offer(frameOf(i));
  viewer.mayGoOn.set_value();
  waitUntilPublished(pump);
  EXPECT_THAT(viewer.sizes, ElementsAre(1, 100));
}

TEST(FramePump, ADiscardedFrameIsNotPublishedButLaterOnesAre) {
  FrameBroadcaster broadcaster;
  BlockingViewer viewer(broadcaster);
  FramePump pump(broadcaster);
  pump.offer(frameOf(1));
  viewer.firstArrived.get_future().wait();
  pump.offer(frameOf(2));
  pump.discard();
  viewer.mayGoOn.set_value();
  waitUntilPublished(pump);
  EXPECT_THAT(viewer.sizes, ElementsAre(1));
  pump.offer(frameOf(3));
  waitUntilPublished(pump);
  EXPECT_THAT(viewer.sizes, ElementsAre(1, 3));
}

TEST(FramePump, GoesAwayWithAFrameWaiting) {
  FrameBroadcaster broadcaster;
  BlockingViewer viewer(broadcaster);
  {
    FramePump pump(broadcaster);
    pump.offer(frameOf(1));
    viewer.firstArrived.get_future().wait();
    pump.offer(frameOf(2));
    viewer.mayGoOn.set_value();
  }
  EXPECT_EQ(viewer.sizes.front(), 1U);
}

}  // namespace
}  // namespace tarvinel
