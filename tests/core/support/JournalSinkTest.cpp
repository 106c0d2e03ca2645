#include "core/support/Log.h"
#include "core/support/UniqueFd.h"
#include "tests/support/TemporaryFolder.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <fcntl.h>
#include <fmt/format.h>
#include <sys/stat.h>

namespace tarvinel {
namespace {

using testing::Contains;
using testing::ElementsAre;

std::vector<std::string> fieldsAt(spdlog::level::level_enum level) {
  return JournalSink::fieldsOf(spdlog::details::log_msg("server", level, "a line\nand another"));
}

TEST(JournalSinkTest, SendsTheLineAsItIsWithItsCategory) {
  EXPECT_THAT(fieldsAt(spdlog::level::info),
              ElementsAre("MESSAGE=a line\nand another", "PRIORITY=6", "SYSLOG_IDENTIFIER=tarvinel",
                          "TARVINEL_CATEGORY=server"));
}

TEST(JournalSinkTest, AFieldOfSeveralLinesIsPrecededByItsLength) {
  using namespace std::string_literals;
  EXPECT_EQ(JournalSink::datagramOf({"PRIORITY=6", "MESSAGE=a=b\nc", "EMPTY="}),
            "PRIORITY=6\nMESSAGE\n\x05\0\0\0\0\0\0\0a=b\nc\nEMPTY=\n"s);
}

TEST(JournalSinkTest, KeepsTheSeverity) {
  EXPECT_THAT(fieldsAt(spdlog::level::debug), Contains("PRIORITY=7"));
  EXPECT_THAT(fieldsAt(spdlog::level::warn), Contains("PRIORITY=4"));
  EXPECT_THAT(fieldsAt(spdlog::level::err), Contains("PRIORITY=3"));
  EXPECT_THAT(fieldsAt(spdlog::level::critical), Contains("PRIORITY=2"));
}

TEST(JournalSinkTest, TheJournalIsBehindTheFileThatTheVariableNamesAlone) {
  const test::TemporaryFolder folder;
  const UniqueFd fd(open(folder.write("output", "").c_str(), O_WRONLY | O_CLOEXEC));
  struct stat status{};
  ASSERT_EQ(fstat(fd.get(), &status), 0);
  const auto itself = fmt::format("{}:{}", status.st_dev, status.st_ino);
  EXPECT_TRUE(JournalSink::isBehind(fd.get(), itself.c_str()));
  EXPECT_FALSE(JournalSink::isBehind(fd.get(), (itself + "0").c_str()));
  EXPECT_FALSE(JournalSink::isBehind(fd.get(), ""));
  EXPECT_FALSE(JournalSink::isBehind(fd.get(), nullptr));
  EXPECT_FALSE(JournalSink::isBehind(-1, itself.c_str()));
}

}  // namespace
}  // namespace tarvinel
