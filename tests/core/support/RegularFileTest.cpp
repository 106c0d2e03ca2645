#include "core/support/RegularFile.h"
#include "tests/support/TemporaryFolder.h"

#include <gtest/gtest.h>

#include <sys/stat.h>

#include <filesystem>
#include <string>

namespace tarvinel {
namespace {

using test::TemporaryFolder;

class RegularFileTest : public testing::Test {
 protected:
  static std::string problemOf(const std::filesystem::path& file, std::size_t maxBytes = 100) {
    try {
      readRegularFile(file, maxBytes);
    } catch (const FileReadError& error) {
      return std::string(error.what()) + (error.isAbsent() ? " (absent)" : "");
    }
    return "";
  }

  TemporaryFolder folder;
};

TEST_F(RegularFileTest, ReadsTheWholeFile) {
  const std::string content(100000, 'x');
  EXPECT_EQ(readRegularFile(folder.write("a", content), 100000), bytesOf(content));
  EXPECT_EQ(readRegularFile(folder.write("b", ""), 0), Bytes());
}

TEST_F(RegularFileTest, RefusesMoreThanTheLimit) {
  constexpr std::size_t mebibyte = std::size_t{1} << 20;
  const auto file = folder.write("a", "");
  std::filesystem::resize_file(file, mebibyte + 1);
  EXPECT_EQ(problemOf(file, mebibyte), "a is larger than 1 MiB");
}

TEST_F(RegularFileTest, AFileThatTellsNoSizeIsReadUpToTheLimit) {
  EXPECT_GT(readRegularFile("/proc/self/status", 1 << 20).size(), 100U);
  EXPECT_EQ(problemOf("/proc/self/status", 100), "status is larger than 0 MiB");
}

TEST_F(RegularFileTest, TellsWhatIsAbsentFromWhatCannotBeRead) {
  EXPECT_EQ(problemOf(folder / "a"), "a: No such file or directory (absent)");
  folder.write("file", "");
  EXPECT_EQ(problemOf(folder / "file/a"), "a: Not a directory (absent)");
  EXPECT_EQ(problemOf(folder.path()), folder.path().filename().native() + ": Is a directory");
  EXPECT_EQ(problemOf("/dev/null"), "null is not a regular file");
  ASSERT_EQ(::mkfifo((folder / "pipe").c_str(), 0600), 0);
  EXPECT_EQ(problemOf(folder / "pipe"), "pipe is not a regular file");
}

}  // namespace
}  // namespace tarvinel
