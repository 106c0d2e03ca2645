#include "core/uploads/UploadSink.h"
#include "tests/support/Await.h"
#include "tests/support/CapturedLog.h"
#include "tests/support/TemporaryFolder.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <sys/resource.h>

#include <csignal>
#include <filesystem>
#include <future>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

namespace tarvinel {
namespace {

using test::await;
using test::CapturedLog;
using test::TemporaryFolder;
using testing::Contains;
using testing::MatchesRegex;
using testing::StartsWith;
using namespace std::chrono_literals;

// Stalled uploads

TEST(StallRule, LooksTwiceInATimeoutButAtLeastEveryFiveSeconds) {
  EXPECT_EQ((StallRule{30s, 20000}).checkInterval(), 5s);
  EXPECT_EQ((StallRule{10s, 20000}).checkInterval(), 5s);
  EXPECT_EQ((StallRule{4s, 20000}).checkInterval(), 2s);
}

TEST(StallRule, SilenceStallsFromTheTimeoutOn) {
  const StallRule rule{30s, 20000};
  EXPECT_FALSE(rule.isStalled(29.999s, 40s, 1'000'000'000));
  EXPECT_TRUE(rule.isStalled(30s, 40s, 1'000'000'000));
  EXPECT_TRUE((StallRule{4s, 20000}).isStalled(4s, 4s, 0));
}

TEST(StallRule, ATrickleStallsOnceItIsTenSecondsOld) {
  const StallRule rule{30s, 20000};
  EXPECT_FALSE(rule.isStalled(0s, 9.999s, 0));
  EXPECT_TRUE(rule.isStalled(0s, 10s, 199'999));
  EXPECT_FALSE(rule.isStalled(0s, 10s, 200'000));
  EXPECT_TRUE((StallRule{4s, 20000}).isStalled(0s, 10s, 199'999));
}

TEST(StallRule, TheAverageCountsFromTheStart) {
  const StallRule rule{30s, 20000};
  EXPECT_FALSE(rule.isStalled(5s, 60s, 1'200'000));  // such as all of it in the first second
  EXPECT_TRUE(rule.isStalled(5s, 60s, 1'199'999));
}

// The open file

class UploadSinkTest : public testing::Test {
 protected:
  void open(const StallRule& rule = {}) {
    if (!reservation) reservation = store.reserve("Sam", "a.jpg");
    sink = UploadSink::open(
        pool, *reservation, rule, [this] { stalled.set_value(); }, log.category("upload"));
  }

  Result<void> written(std::string_view text) {
    return await<void>([&](Completion<void> completion) {
      sink->write({reinterpret_cast<const std::uint8_t*>(text.data()), text.size()},
                  std::move(completion));
    });
  }

  Result<void> finished() {
    return await<void>([&](Completion<void> completion) { sink->finish(std::move(completion)); });
  }

  void abort() {
    std::promise<void> done;
    sink->abort([&done] { done.set_value(); });
    done.get_future().wait();
  }

  std::string content() const { return test::contentOf(reservation->partialPath()); }

  static std::optional<UploadSinkError> errorOf(const Result<void>& outcome) {
    try {
      outcome.value();
    } catch (const UploadSinkError& error) {
      return error;
    }
    return std::nullopt;
  }

  TemporaryFolder folder;
  CapturedLog log;
  UploadStore store{folder / "uploads", false, log.category("upload")};
  std::optional<UploadStore::Reservation> reservation;
  std::promise<void> stalled;
  BlockingPool pool{4};
  std::shared_ptr<UploadSink> sink;
};

TEST_F(UploadSinkTest, WritesInOrderAndCounts) {
  open();
  EXPECT_THAT(sink->queue().label(), StartsWith("org.tarvinel.Tarvinel.upload."));
  EXPECT_TRUE(written("one ").ok());
  EXPECT_TRUE(written("two").ok());
  EXPECT_EQ(sink->bytesWritten(), 7);
  EXPECT_EQ(content(), "one two");
  EXPECT_TRUE(finished().ok());
  EXPECT_EQ(content(), "one two");
}

TEST_F(UploadSinkTest, AfterTheEndNothingIsWritten) {
  open();
  EXPECT_TRUE(written("one").ok());
  EXPECT_TRUE(finished().ok());
  EXPECT_EQ(errorOf(written("two")), UploadSinkError::closed());
  EXPECT_EQ(errorOf(finished()), UploadSinkError::closed());
  abort();
  EXPECT_EQ(content(), "one");
  EXPECT_EQ(sink->bytesWritten(), 3);
}

TEST_F(UploadSinkTest, AnAbortEndsItAndLeavesTheFileToTheStore) {
  open();
  EXPECT_TRUE(written("one").ok());
  abort();
  abort();
  EXPECT_EQ(errorOf(written("two")), UploadSinkError::closed());
  EXPECT_EQ(errorOf(finished()), UploadSinkError::closed());
  EXPECT_EQ(content(), "one");
}

TEST_F(UploadSinkTest, AFileThatCannotBeOpenedIsNamed) {
  reservation = store.reserve("Sam", "a.jpg");
  std::filesystem::remove(folder / "uploads");
  try {
    open();
    FAIL();
  } catch (const UploadSinkError& error) {
    EXPECT_EQ(error.kind(), UploadSinkError::Case::ioFailure);
    EXPECT_EQ(error.what(),
              "could not open " + reservation->partialPath().string() + " for writing");
  }
}

TEST_F(UploadSinkTest, WithoutItsNameThereIsNone) {
  reservation = store.reserve("Sam", "a.jpg");
  const auto held = PartialFile::create(reservation->directory, reservation->partialName());
  open();
  EXPECT_EQ(sink, nullptr);
}

TEST_F(UploadSinkTest, ALeftOverOfACrashGivesWay) {
  folder.write("uploads/.Sam-a.jpg.partial", "something much longer than what comes now");
  open();
  EXPECT_TRUE(written("new").ok());
  EXPECT_EQ(content(), "new");
}

TEST_F(UploadSinkTest, ALinkInPlaceOfTheFileIsNotFollowed) {
  folder.write("outside.jpg", "outside");
  reservation = store.reserve("Sam", "a.jpg");
  std::filesystem::create_symlink(folder / "outside.jpg", reservation->partialPath());
  open();
  EXPECT_EQ(sink, nullptr);
  std::filesystem::remove(reservation->partialPath());
  std::filesystem::create_hard_link(folder / "outside.jpg", reservation->partialPath());
  open();  // removes this name of the file; the file itself stays
  EXPECT_TRUE(written("new").ok());
  EXPECT_EQ(folder.read("outside.jpg"), "outside");
}

TEST_F(UploadSinkTest, AWriteThatTheFileSystemRefusesCarriesItsReason) {
  rlimit before{};
  ASSERT_EQ(getrlimit(RLIMIT_FSIZE, &before), 0);
  auto* const handler = std::signal(SIGXFSZ, SIG_IGN);
  const rlimit small{4, before.rlim_max};
  open();
  ASSERT_EQ(setrlimit(RLIMIT_FSIZE, &small), 0);
  const auto error = errorOf(written("too much"));
  ASSERT_EQ(setrlimit(RLIMIT_FSIZE, &before), 0);
  std::signal(SIGXFSZ, handler);
  EXPECT_EQ(error, UploadSinkError::ioFailure("File too large"));
  EXPECT_EQ(sink->bytesWritten(), 0);
}

TEST_F(UploadSinkTest, SilenceIsReportedOnceAndEndsTheFile) {
  open({20ms, 0});
  EXPECT_TRUE(written("one").ok());
  stalled.get_future().wait();  // a second report would throw
  EXPECT_EQ(errorOf(written("two")), UploadSinkError::closed());
  EXPECT_EQ(errorOf(finished()), UploadSinkError::closed());
  EXPECT_EQ(content(), "one");
  EXPECT_THAT(log.lines(), Contains(MatchesRegex("upload\\|info\\|upload stalled: idle "
                                                 "[0-9]+\\.[0-9]+s, age [0-9]+\\.[0-9]+s")));
}

// The second upload is silent for as long as the first one is after its end.
TEST_F(UploadSinkTest, SilenceAfterTheEndIsNoStall) {
  open({20ms, 0});
  EXPECT_TRUE(written("one").ok());
  EXPECT_TRUE(finished().ok());
  std::promise<void> secondStalled;
  const auto second = UploadSink::open(
      pool, store.reserve("Sam", "b.jpg"), {20ms, 0}, [&] { secondStalled.set_value(); },
      log.category("upload"));
  secondStalled.get_future().wait();
  EXPECT_EQ(stalled.get_future().wait_for(0s), std::future_status::timeout);
  EXPECT_EQ(log.lines().size(), 1U);
  EXPECT_EQ(content(), "one");
}

TEST_F(UploadSinkTest, MayGoWhileItIsWatched) {
  open({1ms, 0});
  stalled.get_future().wait();
  sink.reset();
  pool.finish();
}

}  // namespace
}  // namespace tarvinel
