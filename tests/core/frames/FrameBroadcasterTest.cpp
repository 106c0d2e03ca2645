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

/// Records what one viewer of tiles received.
struct TileViewer {
  std::vector<TilePicture> received;
  FrameBroadcaster::TileSink sink() {
    return [this](const TilePicture& picture) { received.push_back(picture); };
  }
};

std::shared_ptr<const tiles::Table> tableOf(const tiles::Grid& grid) {
  return std::make_shared<const tiles::Table>(tiles::Table{}.restarted(grid, nullptr));
}

TEST(FrameBroadcaster, TilesGoToViewersOfTilesAlone) {
  FrameBroadcaster broadcaster;
  Viewer plain;
  TileViewer early;
  TileViewer late;
  broadcaster.subscribe(plain.sink());
  broadcaster.subscribeToTiles(early.sink());
  const auto table = tableOf({300, 200});
  broadcaster.publishTiles(table);
  broadcaster.subscribeToTiles(late.sink());
  EXPECT_THAT(plain.received, IsEmpty());
  ASSERT_EQ(early.received.size(), 1U);
  EXPECT_EQ(early.received.front().table, table);
  ASSERT_EQ(late.received.size(), 1U);
  EXPECT_EQ(late.received.front().table, table);
}

TEST(FrameBroadcaster, ViewersOfTilesGetFramesOnlyWithoutTiles) {
  FrameBroadcaster broadcaster;
  TileViewer viewer;
  broadcaster.subscribeToTiles(viewer.sink());
  const Frame first = frameOf(10);
  broadcaster.publish(first);
  broadcaster.publishTiles(tableOf({300, 200}));
  broadcaster.publish(frameOf(20));
  broadcaster.clearTiles();
  const Frame card = frameOf(30);
  broadcaster.publish(card);
  ASSERT_EQ(viewer.received.size(), 3U);
  EXPECT_EQ(viewer.received[0].whole, first);
  EXPECT_EQ(viewer.received[1].whole, nullptr);
  EXPECT_EQ(viewer.received[2].whole, card);
  EXPECT_EQ(viewer.received[2].table, nullptr);
  EXPECT_EQ(broadcaster.bytesSent(), 40);
}

TEST(FrameBroadcaster, WhoJoinsForTilesGetsNoRetainedFrame) {
  FrameBroadcaster broadcaster;
  broadcaster.publish(frameOf(10));
  TileViewer viewer;
  broadcaster.subscribeToTiles(viewer.sink());
  EXPECT_THAT(viewer.received, IsEmpty());
}

TEST(FrameBroadcaster, CountsBothKindsOfViewers) {
  FrameBroadcaster broadcaster;
  Viewer plain;
  TileViewer tiles;
  broadcaster.subscribe(plain.sink());
  const UUID one = broadcaster.subscribeToTiles(tiles.sink());
  broadcaster.subscribeToTiles(tiles.sink());
  EXPECT_EQ(broadcaster.viewerCount(), 3U);
  EXPECT_EQ(broadcaster.frameViewerCount(), 1U);
  EXPECT_EQ(broadcaster.tileViewerCount(), 2U);
  broadcaster.unsubscribe(one);
  EXPECT_EQ(broadcaster.tileViewerCount(), 1U);
}

TEST(FrameBroadcaster, CountsTheReportedBytesOfTiles) {
  FrameBroadcaster broadcaster;
  broadcaster.addTileBytes(120);
  broadcaster.addTileBytes(3);
  EXPECT_EQ(broadcaster.bytesSent(), 123);
}

TEST(FrameBroadcaster, NotifiesOfEverySubscription) {
  FrameBroadcaster broadcaster;
  Viewer plain;
  TileViewer tiles;
  int notified = 0;
  broadcaster.setOnRequest([&notified] { ++notified; });
  broadcaster.subscribe(plain.sink());
  broadcaster.subscribeToTiles(tiles.sink());
  broadcaster.setOnRequest(nullptr);
  broadcaster.subscribe(plain.sink());
  EXPECT_EQ(notified, 2);
}

TEST(FrameBroadcaster, TheSizeOfTheLatestPictureIsThatOfItsTiles) {
  FrameBroadcaster broadcaster;
  EXPECT_EQ(broadcaster.latestSize(), std::nullopt);
  broadcaster.publishTiles(tableOf({300, 200}));
  EXPECT_EQ(broadcaster.latestSize(), (PixelSize{300, 200}));
  broadcaster.clearTiles();
  EXPECT_EQ(broadcaster.latestSize(), std::nullopt);
}

}  // namespace
}  // namespace tarvinel
