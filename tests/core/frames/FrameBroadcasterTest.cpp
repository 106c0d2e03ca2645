#include "core/frames/FrameBroadcaster.h"
#include "tests/support/FrameOf.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <memory>
#include <thread>
#include <vector>

namespace tarvinel {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

/// Records what one viewer received.
struct Viewer {
  std::vector<Frame> received;
  FrameBroadcaster::Sink sink() {
    return [this](const Frame& frame) { received.push_back(frame); };
  }
};

TEST(FrameBroadcaster, StartsEmpty) {
  const FrameBroadcaster broadcaster;
  EXPECT_EQ(broadcaster.viewerCount(), 0U);
  EXPECT_EQ(broadcaster.bytesSent(), 0);
  EXPECT_EQ(broadcaster.latest(), nullptr);
}

TEST(FrameBroadcaster, SubscriberBeforeAnyFrameGetsNothingUntilThePublish) {
  FrameBroadcaster broadcaster;
  Viewer viewer;
  broadcaster.subscribe(viewer.sink());
  EXPECT_THAT(viewer.received, IsEmpty());
  const Frame frame = frameOf(10);
  broadcaster.publish(frame);
  EXPECT_THAT(viewer.received, ElementsAre(frame));
}

TEST(FrameBroadcaster, LateSubscriberGetsTheRetainedFrameInsideSubscribeAndItIsNotCounted) {
  FrameBroadcaster broadcaster;
  const Frame frame = frameOf(10);
  broadcaster.publish(frame);
  Viewer viewer;
  broadcaster.subscribe(viewer.sink());
  EXPECT_THAT(viewer.received, ElementsAre(frame));
  EXPECT_EQ(broadcaster.bytesSent(), 0);
}

TEST(FrameBroadcaster, PublishWithoutSubscribersRetainsTheFrameAndCountsNothing) {
  FrameBroadcaster broadcaster;
  const Frame frame = frameOf(10);
  broadcaster.publish(frame);
  EXPECT_EQ(broadcaster.latest(), frame);
  EXPECT_EQ(broadcaster.bytesSent(), 0);
}

TEST(FrameBroadcaster, CountsFrameBytesTimesSubscribers) {
  FrameBroadcaster broadcaster;
  std::vector<Viewer> viewers(3);
  for (Viewer& viewer : viewers)
    broadcaster.subscribe(viewer.sink());
  broadcaster.publish(frameOf(50000));
  EXPECT_EQ(broadcaster.bytesSent(), 150000);
  broadcaster.publish(frameOf(1));
  EXPECT_EQ(broadcaster.bytesSent(), 150003);
}

TEST(FrameBroadcaster, AfterClearLatestANewSubscriberWaitsAndTheOthersStay) {
  FrameBroadcaster broadcaster;
  Viewer before;
  Viewer after;
  broadcaster.subscribe(before.sink());
  const Frame first = frameOf(1);
  broadcaster.publish(first);
  broadcaster.clearLatest();
  broadcaster.subscribe(after.sink());
  EXPECT_THAT(after.received, IsEmpty());
  const Frame second = frameOf(2);
  broadcaster.publish(second);
  EXPECT_THAT(before.received, ElementsAre(first, second));
  EXPECT_THAT(after.received, ElementsAre(second));
}

TEST(FrameBroadcaster, UnsubscribeOfAKnownIdentifierDropsOneViewerOfAnUnknownNone) {
  FrameBroadcaster broadcaster;
  Viewer viewer;
  const UUID identifier = broadcaster.subscribe(viewer.sink());
  broadcaster.subscribe(viewer.sink());
  EXPECT_EQ(broadcaster.viewerCount(), 2U);
  broadcaster.unsubscribe(UUID::random());
  EXPECT_EQ(broadcaster.viewerCount(), 2U);
  broadcaster.unsubscribe(identifier);
  EXPECT_EQ(broadcaster.viewerCount(), 1U);
  broadcaster.unsubscribe(identifier);
  EXPECT_EQ(broadcaster.viewerCount(), 1U);
}

TEST(FrameBroadcaster, TheSameSinkTwiceIsTwoViewers) {
  FrameBroadcaster broadcaster;
  Viewer viewer;
  broadcaster.subscribe(viewer.sink());
  broadcaster.subscribe(viewer.sink());
  const Frame frame = frameOf(5);
  broadcaster.publish(frame);
  EXPECT_THAT(viewer.received, ElementsAre(frame, frame));
  EXPECT_EQ(broadcaster.bytesSent(), 10);
}

TEST(FrameBroadcaster, FramesAreSharedNotCopied) {
  FrameBroadcaster broadcaster;
  Viewer viewer;
  broadcaster.subscribe(viewer.sink());
  const Frame frame = frameOf(5);
  broadcaster.publish(frame);
  ASSERT_EQ(viewer.received.size(), 1U);
  EXPECT_EQ(viewer.received.front().get(), frame.get());
}

TEST(FrameBroadcaster, ASubscriberNeverSeesAFrameTwiceWhilePublicationsRace) {
  FrameBroadcaster broadcaster;
  constexpr std::size_t frames = 500;
  std::thread publisher([&] {
    for (std::size_t i = 1; i <= frames; ++i)
      broadcaster.publish(frameOf(i));
  });
  std::vector<std::unique_ptr<Viewer>> viewers;
  std::vector<UUID> identifiers;
  for (int i = 0; i < 100; ++i) {
    viewers.push_back(std::make_unique<Viewer>());
    identifiers.push_back(broadcaster.subscribe(viewers.back()->sink()));
  }
  publisher.join();
  for (const UUID& identifier : identifiers)
    broadcaster.unsubscribe(identifier);
  for (const auto& viewer : viewers) {
    for (std::size_t i = 1; i < viewer->received.size(); ++i) {
      EXPECT_EQ(viewer->received[i]->size(), viewer->received[i - 1]->size() + 1);
    }
  }
}

}  // namespace
}  // namespace tarvinel
