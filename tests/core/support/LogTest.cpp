#include "core/support/Log.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <sstream>
#include <string>
#include <vector>

namespace tarvinel {
namespace {

/// Returns what was written since CaptureStderr(), line by line and without times.
std::vector<std::string> writtenLines(const Log& log) {
  log.flush();
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
  const Log log = Log::standardError();
  const auto logger = log.category("capture");
  for (int i = 0; i < 4; ++i)
    logger->info("sources: 1 displays, 2 windows, 1 apps");
  logger->info("sources: 1 displays, 3 windows, 1 apps");
  EXPECT_EQ(writtenLines(log),
            (std::vector<std::string>{"info [capture] sources: 1 displays, 2 windows, 1 apps",
                                      "info [capture] Skipped 3 duplicate messages..",
                                      "info [capture] sources: 1 displays, 3 windows, 1 apps"}));
}

TEST(LogTest, writesAgainWhatWasSaidBeforeSomethingElse) {
  testing::internal::CaptureStderr();
  const Log log = Log::standardError();
  const auto logger = log.category("server");
  logger->info("listening");
  logger->warn("stopped");
  logger->info("listening");
  EXPECT_EQ(writtenLines(log),
            (std::vector<std::string>{"info [server] listening", "warning [server] stopped",
                                      "info [server] listening"}));
}

TEST(LogTest, leavesOutWhatIsBelowItsLevel) {
  testing::internal::CaptureStderr();
  const Log log = Log::standardError(spdlog::level::info);
  const auto logger = log.category("app");
  logger->debug("detail");
  EXPECT_EQ(writtenLines(log), std::vector<std::string>{});
}

}  // namespace
}  // namespace tarvinel
