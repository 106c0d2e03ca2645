#include "app/tray/TerminationSignals.h"

#include <gtest/gtest.h>

#include <csignal>
#include <future>

namespace tarvinel {
namespace {

class TerminationSignalsTest : public testing::TestWithParam<int> {};

TEST_P(TerminationSignalsTest, AreCaughtOnce) {
  std::promise<void> caught;
  std::signal(GetParam(), SIG_DFL);  // the tests themselves may run under nohup
  {
    const TerminationSignals waiting([&caught] { caught.set_value(); });
    ASSERT_EQ(std::raise(GetParam()), 0);
    caught.get_future().wait();
    // a second one, while the program ends, changes nothing
    ASSERT_EQ(std::raise(GetParam()), 0);
  }
  struct sigaction handling {};
  ASSERT_EQ(sigaction(GetParam(), nullptr, &handling), 0);
  EXPECT_EQ(handling.sa_handler, SIG_DFL) << "nothing is left behind";
}

INSTANTIATE_TEST_SUITE_P(All, TerminationSignalsTest, testing::Values(SIGINT, SIGTERM, SIGHUP));

}  // namespace
}  // namespace tarvinel
