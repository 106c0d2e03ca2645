#include "app/startup/TerminationSignals.h"

#include <gtest/gtest.h>

#include <csignal>
#include <future>

namespace tarvinel {
namespace {

class TerminationSignalsTest : public testing::TestWithParam<int> {
 protected:
  TerminationSignalsTest() {
    std::signal(GetParam(), SIG_DFL);  // the tests themselves may run under nohup
    // the sanitizers do not support threads in a fork of a process that has several
    GTEST_FLAG_SET(death_test_style, "threadsafe");
  }

  /// Raises the signal until it has been caught for the first time.
  static void raiseOnce(std::promise<void>& caught) {
    ASSERT_EQ(std::raise(GetParam()), 0);
    caught.get_future().wait();
  }
};

TEST_P(TerminationSignalsTest, TheFirstIsCaughtAndNothingIsLeftBehind) {
  std::promise<void> caught;
  {
    const TerminationSignals waiting([&caught] { caught.set_value(); });
    raiseOnce(caught);
  }
  struct sigaction handling{};
  ASSERT_EQ(sigaction(GetParam(), nullptr, &handling), 0);
  EXPECT_EQ(handling.sa_handler, SIG_DFL);
}

TEST_P(TerminationSignalsTest, TheSecondEndsTheProgramAtOnce) {
  const auto raiseTwice = [] {
    std::promise<void> caught;
    const TerminationSignals waiting([&caught] { caught.set_value(); });
    raiseOnce(caught);
    std::raise(GetParam());
  };
  EXPECT_EXIT(raiseTwice(), testing::KilledBySignal(GetParam()), "");
}

INSTANTIATE_TEST_SUITE_P(All, TerminationSignalsTest, testing::Values(SIGINT, SIGTERM, SIGHUP));

}  // namespace
}  // namespace tarvinel
