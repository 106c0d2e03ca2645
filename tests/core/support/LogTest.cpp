#include "core/support/Log.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <sstream>
#include <string>
#include <vector>

namespace tarvinel {
namespace {

/// What was written since CaptureStderr(), line by line and without times.
std::vector<std::string> writtenLines() {
  std::istringstream text(testing::internal::GetCapturedStderr());
  std::vector<std::string> lines;
  for (std::string line; std::getline(text, line);) {
    lines.push_back(
        line.substr(std::min(line.size(), std::string("2026-11-21 09:00:00.000 ").size())));
  }
  return lines;
}

TEST(LogTest, countsWhatIsSaidAgainOnStandardError) {
  testing::internal::CaptureStderr();
  const auto logger = Log::standardError().category("capture");
  for (int i = 0; i < 4; ++i)
    logger->info("sources: 1 displays, 2 windows, 1 apps");
  logger->info("sources: 1 displays, 3 windows, 1 apps");
  EXPECT_EQ(writtenLines(),
            (std::vector<std::string>{"info [capture] sources: 1 displays, 2 windows, 1 apps",
                                      "info [capture] Skipped 3 duplicate messages..",
                                      "info [capture] sources: 1 displays, 3 windows, 1 apps"}));
}

TEST(LogTest, writesAgainWhatWasSaidBeforeSomethingElse) {
  testing::internal::CaptureStderr();
  const auto logger = Log::standardError().category("server");
  logger->info("listening");
  logger->warn("stopped");
  logger->info("listening");
  EXPECT_EQ(writtenLines(),
            (std::vector<std::string>{"info [server] listening", "warning [server] stopped",
                                      "info [server] listening"}));
}

TEST(LogTest, leavesOutWhatIsBelowItsLevel) {
  testing::internal::CaptureStderr();
  const auto logger = Log::standardError(spdlog::level::info).category("app");
  logger->debug("detail");
  EXPECT_EQ(writtenLines(), std::vector<std::string>{});
}

}  // namespace
}  // namespace tarvinel
