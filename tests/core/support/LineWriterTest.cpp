#include "core/support/LineWriter.h"
#include "core/support/NonBlockingOutput.h"
#include "tests/support/Pipe.h"
#include "tests/support/TemporaryFolder.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <fcntl.h>
#include <sys/socket.h>

#include <array>
#include <chrono>
#include <optional>
#include <string>

namespace tarvinel {
namespace {

using namespace std::chrono_literals;
using test::Pipe;
using testing::StartsWith;

constexpr std::chrono::seconds longEnough{60};

class LineWriterTest : public testing::Test {
 protected:
  static LineWriter::Open openOf(int fd) {
    return [fd] { return nonBlockingOutput(fd); };
  }
  static std::string lineOf(const std::string& sentence) { return "[" + sentence + "]\n"; }

  Pipe pipe;
};

TEST_F(LineWriterTest, WritesLinesInTheirOrder) {
  LineWriter writer(openOf(pipe.writer()), lineOf);
  writer.write("one\n");
  writer.write("two\n");
  EXPECT_TRUE(writer.flush(longEnough));
  EXPECT_EQ(pipe.readUntil("two\n"), "one\ntwo\n");
}

TEST_F(LineWriterTest, NobodyWaitsForAPipeThatNobodyReads) {
  pipe.fill();
  LineWriter writer(openOf(pipe.writer()), lineOf);
  writer.write("line\n");
  EXPECT_FALSE(writer.flush(100ms)) << "it is still to be written";
}

TEST_F(LineWriterTest, WhatDoesNotFitIsDroppedAndCountedOnceWritingWorksAgain) {
  pipe.fill();
  const std::string line = std::string(1023, 'a') + "\n";
  const std::size_t fitting = LineWriter::maxQueuedBytes / line.size();
  LineWriter writer(openOf(pipe.writer()), lineOf);
  for (std::size_t i = 0; i < fitting + 7; ++i)
    writer.write(line);
  const std::string report = "[7 lines are missing here: nothing took them in time]\n";
  const std::string text = pipe.readUntil(report);
  const auto lines = text.substr(text.find('a'));
  EXPECT_EQ(lines.size(), fitting * line.size() + report.size());
  writer.write("after\n");
  EXPECT_EQ(pipe.readUntil("\n"), "after\n");
}

TEST_F(LineWriterTest, ItsEndWaitsForWhatCanBeWritten) {
  {
    LineWriter writer(openOf(pipe.writer()), lineOf);
    writer.write("the last line\n");
  }
  EXPECT_EQ(pipe.readUntil("\n"), "the last line\n");
}

TEST_F(LineWriterTest, ItsEndDoesNotWaitForAPipeThatNobodyReads) {
  pipe.fill();
  std::optional<LineWriter> writer(std::in_place, openOf(pipe.writer()), lineOf);
  writer->write("line\n");
  writer.reset();  // this test hangs if the destructor waits for the output
}

TEST_F(LineWriterTest, OthersWithTheSamePipeAreNotChanged) {
  LineWriter writer(openOf(pipe.writer()), lineOf);
  writer.write("line\n");
  ASSERT_TRUE(writer.flush(longEnough));
  EXPECT_EQ(fcntl(pipe.writer(), F_GETFL) & O_NONBLOCK, 0);
}

TEST_F(LineWriterTest, WritesToAnOrdinaryFileWhereOthersLeftOff) {
  const test::TemporaryFolder folder;
  const UniqueFd file(open(folder.write("log", "").c_str(), O_WRONLY | O_CLOEXEC));
  ASSERT_EQ(write(file.get(), "before\n", 7), 7);
  {
    LineWriter writer(openOf(file.get()), lineOf);
    writer.write("line\n");
  }
  EXPECT_EQ(folder.read("log"), "before\nline\n");
}

TEST_F(LineWriterTest, ALineIsOneDatagram) {
  std::array<int, 2> ends{};
  ASSERT_EQ(socketpair(AF_UNIX, SOCK_DGRAM | SOCK_CLOEXEC, 0, ends.data()), 0);
  const UniqueFd near(ends[0]);
  const UniqueFd far(ends[1]);
  LineWriter writer(openOf(near.get()), lineOf);
  writer.write(std::string(10000, 'a'));
  writer.write("b");
  std::string received(20000, '\0');
  EXPECT_EQ(recv(far.get(), received.data(), received.size(), 0), 10000);
  EXPECT_EQ(recv(far.get(), received.data(), received.size(), 0), 1);
}

TEST_F(LineWriterTest, WhatEndedIsOpenedAgain) {
  Pipe next;
  int opened = 0;
  {
    const UniqueFd nothing;
    LineWriter writer(
        [&] { return nonBlockingOutput(opened++ == 0 ? nothing.get() : next.writer()); }, lineOf);
    writer.write("line\n");
  }
  EXPECT_EQ(next.readUntil("\n"), "line\n");
}

TEST_F(LineWriterTest, AStreamPassesOnWhatIsFlushed) {
  LineStream out(pipe.writer());
  out << "a line of " << 2 << " parts" << std::endl;
  EXPECT_EQ(pipe.readUntil("\n"), "a line of 2 parts\n");
  pipe.fill();
  out << "nobody waits for this" << std::endl;
  EXPECT_TRUE(out);
}

TEST(NonBlockingOutputTest, WhatIsTakenAtOnceIsWritten) {
  const Pipe pipe;
  writeWithoutWaiting(pipe.writer(), "last words\n");
  EXPECT_EQ(pipe.readUntil("\n"), "last words\n");
  pipe.fill();
  writeWithoutWaiting(pipe.writer(), "nobody waits for this\n");
  EXPECT_THAT(pipe.read(), StartsWith("xxx"));
}

}  // namespace
}  // namespace tarvinel
