#include "app/terminal/LineReader.h"
#include "tests/support/Eventually.h"
#include "tests/support/TemporaryFolder.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <fcntl.h>
#include <unistd.h>

#include <array>
#include <memory>
#include <mutex>
#include <string>
#include <string_view>
#include <vector>

namespace tarvinel {
namespace {

using test::eventually;
using test::TemporaryFolder;
using testing::ElementsAre;

/// Collects lines from the reader's thread.
class Lines {
 public:
  auto collector() {
    return [this](std::string line) {
      const std::scoped_lock lock(mutex_);
      lines_.push_back(std::move(line));
    };
  }
  std::vector<std::string> get() {
    const std::scoped_lock lock(mutex_);
    return lines_;
  }

 private:
  std::mutex mutex_;
  std::vector<std::string> lines_;
};

class Pipe {
 public:
  Pipe() {
    std::array<int, 2> ends{};
    EXPECT_EQ(pipe2(ends.data(), O_CLOEXEC), 0);
    read_.reset(ends[0]);
    write_.reset(ends[1]);
  }
  int reader() const { return read_.get(); }
  void write(std::string_view text) {
    EXPECT_EQ(::write(write_.get(), text.data(), text.size()), static_cast<ssize_t>(text.size()));
  }
  void end() { write_.reset(); }

 private:
  UniqueFd read_;
  UniqueFd write_;
};

TEST(LineReader, CutsInputIntoLinesHoweverItComes) {
  Pipe pipe;
  Lines lines;
  const LineReader reader(pipe.reader(), lines.collector());
  pipe.write("sta");
  pipe.write("tus\n\nhelp\nqu");
  EXPECT_TRUE(eventually([&] { return lines.get().size() == 3; }));
  pipe.write("it\n");
  EXPECT_TRUE(eventually([&] { return lines.get().size() == 4; }));
  EXPECT_THAT(lines.get(), ElementsAre("status", "", "help", "quit"));
}

TEST(LineReader, LeavesOutALineThatIsTooLong) {
  Pipe pipe;
  Lines lines;
  const LineReader reader(pipe.reader(), lines.collector());
  pipe.write("a\n" + std::string(LineReader::maxLineBytes, 'x') + "\n");
  pipe.write(std::string(LineReader::maxLineBytes + 1, 'y') + "\nb\n");
  EXPECT_TRUE(eventually([&] { return lines.get().size() == 3; }));
  EXPECT_THAT(lines.get(), ElementsAre("a", std::string(LineReader::maxLineBytes, 'x'), "b"));
}

TEST(LineReader, ALineWithoutItsEndIsNoLine) {
  Pipe pipe;
  Lines lines;
  auto reader = std::make_unique<LineReader>(pipe.reader(), lines.collector());
  pipe.write("done\nnot done");
  EXPECT_TRUE(eventually([&] { return lines.get().size() == 1; }));
  pipe.end();
  reader.reset();
  EXPECT_THAT(lines.get(), ElementsAre("done"));
}

TEST(LineReader, EndsWhileItWaitsForInput) {
  Pipe pipe;
  Lines lines;
  std::make_unique<LineReader>(pipe.reader(), lines.collector()).reset();
  EXPECT_TRUE(lines.get().empty());
}

TEST(LineReader, ReadsAnOrdinaryFileAndTheNullDevice) {
  const TemporaryFolder folder;
  const UniqueFd file(open(folder.write("input", "from a file\n").c_str(), O_RDONLY | O_CLOEXEC));
  Lines lines;
  const LineReader reader(file.get(), lines.collector());
  EXPECT_TRUE(eventually([&] { return lines.get().size() == 1; }));
  EXPECT_THAT(lines.get(), ElementsAre("from a file"));

  const UniqueFd null(open("/dev/null", O_RDONLY | O_CLOEXEC));
  const LineReader empty(null.get(), lines.collector());
}

}  // namespace
}  // namespace tarvinel
