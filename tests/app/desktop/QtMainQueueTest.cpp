#include "app/desktop/QtMainQueue.h"

#include <QEventLoop>
#include <gmock/gmock.h>

#include <chrono>
#include <thread>
#include <vector>

namespace tarvinel {
namespace {

using testing::ElementsAre;

TEST(QtMainQueue, RunsTasksInOrderOnItsThreadWhoeverPostsThem) {
  QtMainQueue queue;
  QEventLoop loop;
  const auto here = std::this_thread::get_id();
  std::vector<int> ran;
  std::thread([&] {
    for (int i = 1; i <= 3; ++i) {
      queue.post([&ran, here, i] {
        EXPECT_EQ(std::this_thread::get_id(), here);
        ran.push_back(i);
      });
    }
    queue.post([&loop] { loop.quit(); });
  }).join();
  EXPECT_THAT(ran, ElementsAre());
  loop.exec();
  EXPECT_THAT(ran, ElementsAre(1, 2, 3));
}

TEST(QtMainQueue, RepeatsUntilTheTimerGoes) {
  QtMainQueue queue;
  QEventLoop loop;
  int first = 0;
  int second = 0;
  auto one = queue.repeat(std::chrono::milliseconds(1), [&] {
    if (++first == 3) loop.quit();
  });
  loop.exec();
  one.reset();
  const auto other = queue.repeat(std::chrono::milliseconds(1), [&] {
    if (++second == 3) loop.quit();
  });
  loop.exec();
  EXPECT_EQ(first, 3);
  EXPECT_EQ(second, 3);
}

}  // namespace
}  // namespace tarvinel
