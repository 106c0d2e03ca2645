#include "core/support/BlockingPool.h"

#include <gtest/gtest.h>

#include <atomic>
#include <future>
#include <latch>
#include <memory>
#include <vector>

namespace tarvinel {
namespace {

TEST(BlockingPool, AQueueRunsItsTasksOneAtATimeInOrder) {
  BlockingPool pool(4);
  PooledQueue queue(pool, ".upload.1");
  EXPECT_EQ(queue.label(), "org.tarvinel.Tarvinel.upload.1");
  std::vector<int> order;  // needs no lock: one task runs at a time
  for (int i = 0; i < 1000; ++i)
    queue.post([&order, i] { order.push_back(i); });
  pool.finish();
  ASSERT_EQ(order.size(), 1000U);
  for (int i = 0; i < 1000; ++i)
    EXPECT_EQ(order[static_cast<std::size_t>(i)], i);
}

TEST(BlockingPool, QueuesThatWaitHoldUpNoOther) {
  BlockingPool pool(9);
  std::promise<void> disk;
  const std::shared_future<void> diskIsBack = disk.get_future().share();
  std::latch allWait(8);
  std::vector<std::unique_ptr<PooledQueue>> stalled;
  for (int i = 0; i < 8; ++i) {
    stalled.push_back(std::make_unique<PooledQueue>(pool, ".stalled"));
    stalled.back()->post([&allWait, diskIsBack] {
      allWait.count_down();
      diskIsBack.wait();
    });
  }
  allWait.wait();
  PooledQueue other(pool, ".other");
  for (int i = 0; i < 100; ++i) {
    std::promise<void> ran;
    other.post([&ran] { ran.set_value(); });
    ran.get_future().wait();
  }
  disk.set_value();
}

TEST(BlockingPool, FinishRunsWhatIsPostedAndWhatThatPosts) {
  BlockingPool pool(2);
  auto queue = std::make_unique<PooledQueue>(pool, ".a");
  PooledQueue another(pool, ".b");
  std::atomic<int> ran = 0;
  for (int i = 0; i < 50; ++i) {
    queue->post([&ran, &another] { another.post([&ran] { ++ran; }); });
  }
  queue.reset();
  pool.finish();
  EXPECT_EQ(ran, 50);
  pool.finish();
}

}  // namespace
}  // namespace tarvinel
