#include "app/desktop/SingleInstance.h"
#include "tests/app/desktop/PrivateBus.h"
#include "tests/app/desktop/SpinUntil.h"

#include <gtest/gtest.h>

#include <future>

namespace tarvinel {
namespace {

using test::PrivateBus;
using test::spinUntil;

TEST(SingleInstance, TheSecondRunHasTheFirstOneShowItself) {
  PrivateBus bus;
  int launchedAgain = 0;
  const SingleInstance first(bus.connect(), [&launchedAgain] { ++launchedAgain; });
  EXPECT_TRUE(first.isFirst());
  const SingleInstance second(bus.connect(), [] { FAIL(); });
  EXPECT_FALSE(second.isFirst());
  auto shown = std::async(std::launch::async, [&second] { return second.showFirst(); });
  EXPECT_TRUE(spinUntil([&] { return launchedAgain == 1; }));
  EXPECT_TRUE(shown.get());
}

TEST(SingleInstance, TheNextRunIsTheFirstOnceTheFirstHasEnded) {
  PrivateBus bus;
  {
    const SingleInstance first(bus.connect(), [] {});
    EXPECT_TRUE(first.isFirst());
  }
  const SingleInstance next(bus.connect(), [] {});
  EXPECT_TRUE(next.isFirst());
}

TEST(SingleInstance, WithoutABusEveryRunIsTheFirst) {
  const auto none =
      QDBusConnection::connectToBus(QStringLiteral("unix:path=/nowhere"), QStringLiteral("no bus"));
  const SingleInstance first(none, [] {});
  const SingleInstance second(none, [] {});
  EXPECT_TRUE(first.isFirst());
  EXPECT_TRUE(second.isFirst());
}

}  // namespace
}  // namespace tarvinel
