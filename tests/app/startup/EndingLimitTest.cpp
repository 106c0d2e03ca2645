#include "app/startup/EndingLimit.h"

#include <gtest/gtest.h>

#include <chrono>
#include <cstdlib>
#include <thread>

namespace tarvinel {
namespace {

using namespace std::chrono_literals;

/// Starts a new process for each death test: the sanitizers do not support threads in a fork of one
/// that has several, and the library that draws text keeps one.
struct EndingLimitTest : testing::Test {
  EndingLimitTest() { GTEST_FLAG_SET(death_test_style, "threadsafe"); }
};

TEST_F(EndingLimitTest, WhatHangsIsNotWaitedForAnyLonger) {
  const auto hang = [] {
    EndingLimit limit(1s);
    limit.begin();
    std::this_thread::sleep_for(60s);
  };
  EXPECT_EXIT(hang(), testing::ExitedWithCode(EndingLimit::exitStatus),
              "tarvinel: ended without waiting longer than 1 seconds for a disk");
}

TEST_F(EndingLimitTest, AnOrderlyEndIsLeftAlone) {
  const auto end = [] {
    {
      EndingLimit limit(60s);
      limit.begin();
      limit.begin();
    }
    std::exit(0);
  };
  EXPECT_EXIT(end(), testing::ExitedWithCode(0), "");
}

TEST_F(EndingLimitTest, NothingIsLimitedBeforeTheEndBegins) {
  const auto run = [] {
    {
      const EndingLimit limit(0s);
      std::this_thread::sleep_for(100ms);
    }
    std::exit(0);
  };
  EXPECT_EXIT(run(), testing::ExitedWithCode(0), "");
}

}  // namespace
}  // namespace tarvinel
