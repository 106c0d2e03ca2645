#include "app/doctor/Doctor.h"

#include <gtest/gtest.h>

#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <csignal>
#include <stdexcept>
#include <string>

namespace tarvinel {
namespace {

using enum Finding::State;
using std::chrono::milliseconds;
using std::chrono::minutes;

auto after(std::chrono::nanoseconds time) {
  return CheckProcess::Clock::now() + time;
}

bool isChildLeft() {
  return ::waitpid(-1, nullptr, WNOHANG) >= 0;
}

TEST(CheckProcess, TellsWhatWasFound) {
  const Findings findings{{fine, "a", {}}, {needsAttention, "bä \"\n", {"do", "this"}}};
  {
    CheckProcess process([&findings] { return findings; });
    EXPECT_EQ(process.await(after(minutes(10))), findings);
  }
  EXPECT_FALSE(isChildLeft());
}

TEST(CheckProcess, TellsMoreThanAPipeHolds) {
  const Findings findings{{worthKnowing, std::string(200'000, 'x'), {}}};
  CheckProcess process([&findings] { return findings; });
  EXPECT_EQ(process.await(after(minutes(10))), findings);
}

TEST(CheckProcess, TextsThatAreNotUTF8DoNoHarm) {
  CheckProcess process([] { return Findings{{fine, "a\xff", {}}}; });
  EXPECT_EQ(process.await(after(minutes(10))), (Findings{{fine, "a\xef\xbf\xbd", {}}}));
}

TEST(CheckProcess, NothingComesOfOneThatHangsAndItIsEnded) {
  {
    CheckProcess process([]() -> Findings {
      while (true)
        ::pause();
    });
    EXPECT_EQ(process.await(after(milliseconds(50))), std::nullopt);
  }
  EXPECT_FALSE(isChildLeft());
}

TEST(CheckProcess, NothingComesOfOneThatCrashesOrThrows) {
  CheckProcess crashing([]() -> Findings {
    ::raise(SIGKILL);
    return {};
  });
  EXPECT_EQ(crashing.await(after(minutes(10))), std::nullopt);
  CheckProcess throwing([]() -> Findings { throw std::runtime_error("no"); });
  EXPECT_EQ(throwing.await(after(minutes(10))), std::nullopt);
}

TEST(CheckProcess, OneThatIsNotWaitedForIsEnded) {
  {
    const CheckProcess process([]() -> Findings {
      while (true)
        ::pause();
    });
  }
  EXPECT_FALSE(isChildLeft());
}

}  // namespace
}  // namespace tarvinel
