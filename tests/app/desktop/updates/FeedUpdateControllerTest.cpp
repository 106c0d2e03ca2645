#include "app/desktop/updates/FeedUpdateController.h"
#include "app/updates/UpdateController.h"
#include "tests/app/desktop/SpinUntil.h"
#include "tests/app/desktop/updates/FeedServer.h"
#include "tests/support/CapturedLog.h"
#include "tests/support/FakeDesktop.h"
#include "tests/support/ManualMainQueue.h"
#include "tests/support/TemporaryFolder.h"

#include <gmock/gmock.h>

#include <chrono>
#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace tarvinel {
namespace {

using test::CapturedLog;
using test::document;
using test::drip;
using test::FakeDesktop;
using test::FeedServer;
using test::ManualMainQueue;
using test::silence;
using test::spinUntil;
using test::TemporaryFolder;
using testing::Contains;
using testing::ElementsAre;
using namespace std::chrono_literals;

/// A delegate that records the checks for which it is queried.
class AskedDelegate : public UpdateController::Delegate {
 public:
  std::optional<std::string> feedURLString() const override { return feedOverride; }
  void mayPerform(int check) const override {
    asked.push_back(check);
    if (refuses) throw UpdateCheckDeferred();
  }

  std::optional<std::string> feedOverride;
  bool refuses = false;
  mutable std::vector<int> asked;
};

QByteArray feedOf(const std::string& version, const std::string& link = "https://t.example/dl") {
  return QByteArray::fromStdString("<rss><channel><item><version>" + version + "</version><link>" +
                                   link + "</link></item></channel></rss>");
}

class FeedUpdateControllerTest : public testing::Test {
 protected:
  /// Starts a run of the program, version 1.2.0.
  void start() {
    controller.reset();
    controller = std::make_unique<FeedUpdateController>(
        delegate, FeedUpdateController::Environment{.desktop = desktop,
                                                    .mainQueue = queue,
                                                    .logger = log.category("app"),
                                                    .memory = folder / "updates.json",
                                                    .builtInFeed = feed,
                                                    .version = "1.2.0",
                                                    .limits = limits,
                                                    .now = [this] { return now; }});
    controller->setOnChange([this] { changes.push_back(controller->canCheckForUpdates()); });
  }

  void SetUp() override {
    feed = server.url("/feed.xml");
    start();
  }

  void offer(const std::string& version) { server.answer("/feed.xml", document(feedOf(version))); }

  void awaitEnd() {
    ASSERT_TRUE(spinUntil([this] { return controller->canCheckForUpdates(); }));
  }

  void checkAsPresenter() {
    controller->checkForUpdates();
    awaitEnd();
  }

  /// Makes a scheduled check due, a day after the last one.
  void checkTomorrow() {
    now += 24h;
    queue.tick();
    awaitEnd();
  }

  FeedServer server;
  TemporaryFolder folder;
  CapturedLog log;
  ManualMainQueue queue;
  FakeDesktop desktop;
  AskedDelegate delegate;
  FeedDownload::Limits limits;
  std::string feed;
  UpdateSchedule::Time now = UpdateSchedule::Time(500'000h);
  std::vector<bool> changes;
  std::unique_ptr<FeedUpdateController> controller;
};

constexpr const char* available = "notify Tarvinel 1.10 is available: This is version 1.2.0.";
constexpr const char* pageOpened = "open https://t.example/dl";
constexpr const char* upToDate =
    "notify Tarvinel is up to date: There is no newer version than 1.2.0.";

TEST_F(FeedUpdateControllerTest, TellsThePresenterOfANewVersionAndShowsItsPage) {
  offer("1.10");
  checkAsPresenter();
  EXPECT_THAT(desktop.done, ElementsAre(available, pageOpened));
  EXPECT_THAT(delegate.asked, ElementsAre(UpdateController::userInitiated));
  EXPECT_THAT(log.lines(), ElementsAre("app|debug|update feed: the newest version is 1.10"));
}

TEST_F(FeedUpdateControllerTest, TellsThePresenterThatThereIsNone) {
  for (const char* version : {"1.2", "1.2.0-beta", "1.1.9", "0.10"}) {
    offer(version);
    desktop.done.clear();
    checkAsPresenter();
    EXPECT_THAT(desktop.done, ElementsAre(upToDate)) << version;
  }
}

TEST_F(FeedUpdateControllerTest, TellsThePresenterWhyACheckFailed) {
  server.answer("/feed.xml", document("", "404 Not Found"));
  checkAsPresenter();
  server.answer("/feed.xml", document("<rss>"));
  checkAsPresenter();
  EXPECT_THAT(desktop.done, ElementsAre("notify Tarvinel could not check for updates: "
                                        "The update feed's server answers with status 404.",
                                        "notify Tarvinel could not check for updates: "
                                        "The update feed is not well-formed, line 1."));
  EXPECT_THAT(log.lines(),
              Contains("app|debug|update check failed: The update feed is not well-formed, "
                       "line 1."));
}

TEST_F(FeedUpdateControllerTest, TellsThePresenterEveryTime) {
  offer("1.10");
  checkAsPresenter();
  checkAsPresenter();
  EXPECT_THAT(desktop.done, ElementsAre(available, pageOpened, available, pageOpened));
}

TEST_F(FeedUpdateControllerTest, OpensOnlyPagesOnTheWeb) {
  for (const char* link : {"file:///etc/passwd", "javascript:alert(1)", "", "--version"}) {
    server.answer("/feed.xml", document(feedOf("1.10", link)));
    checkAsPresenter();
  }
  EXPECT_THAT(desktop.done, ElementsAre(available, available, available, available));
}

TEST_F(FeedUpdateControllerTest, TellsOfTheNewestVersionOnly) {
  server.answer("/feed.xml", document("<rss><channel><item><version>1.9</version></item>"
                                      "<item><version>1.10</version></item></channel></rss>"));
  checkAsPresenter();
  EXPECT_THAT(desktop.done, ElementsAre(available));
}

TEST_F(FeedUpdateControllerTest, TellsOfANewVersionOnScheduleOnce) {
  offer("1.10");
  checkTomorrow();
  EXPECT_THAT(desktop.done, ElementsAre(available));
  checkTomorrow();
  EXPECT_THAT(desktop.done, ElementsAre(available));
  offer("1.11");
  checkTomorrow();
  EXPECT_THAT(desktop.done,
              ElementsAre(available, "notify Tarvinel 1.11 is available: This is version 1.2.0."));
  EXPECT_EQ(server.requests().size(), 3U);
  EXPECT_THAT(delegate.asked, ElementsAre(UpdateController::scheduled, UpdateController::scheduled,
                                          UpdateController::scheduled));
}

TEST_F(FeedUpdateControllerTest, TellsOfANewVersionAgainInTheNextRun) {
  offer("1.10");
  checkTomorrow();
  start();
  checkTomorrow();
  EXPECT_THAT(desktop.done, ElementsAre(available, available));
}

TEST_F(FeedUpdateControllerTest, OnScheduleItTellsNothingThatThePresenterKnows) {
  offer("1.10");
  checkAsPresenter();
  checkTomorrow();
  EXPECT_THAT(desktop.done, ElementsAre(available, pageOpened));
}

TEST_F(FeedUpdateControllerTest, OnScheduleItTellsNothingElse) {
  offer("1.2.0");
  checkTomorrow();
  server.answer("/feed.xml", document("", "500 Oh"));
  checkTomorrow();
  server.answer("/feed.xml", document("\xFF"));
  checkTomorrow();
  EXPECT_EQ(server.requests().size(), 3U);
  EXPECT_THAT(desktop.done, ElementsAre());
}

TEST_F(FeedUpdateControllerTest, ChecksADayAfterTheLastCheckEvenAfterARestart) {
  offer("1.2.0");
  checkTomorrow();
  now += 23h;
  queue.tick();
  start();
  queue.tick();
  EXPECT_TRUE(controller->canCheckForUpdates());
  EXPECT_EQ(server.requests().size(), 1U);
  now += 1h;
  queue.tick();
  EXPECT_FALSE(controller->canCheckForUpdates());
  awaitEnd();
  EXPECT_EQ(server.requests().size(), 2U);
}

TEST_F(FeedUpdateControllerTest, ARefusedScheduledCheckIsSkippedInSilence) {
  offer("1.10");
  delegate.refuses = true;
  checkTomorrow();
  EXPECT_THAT(delegate.asked, ElementsAre(UpdateController::scheduled));
  EXPECT_EQ(server.requests().size(), 0U);
  EXPECT_THAT(desktop.done, ElementsAre());
  EXPECT_THAT(changes, ElementsAre());
  delegate.refuses = false;
  now += 23h;
  queue.tick();
  EXPECT_TRUE(controller->canCheckForUpdates());
  now += 1h;
  queue.tick();
  awaitEnd();
  EXPECT_THAT(desktop.done, ElementsAre(available));
}

TEST_F(FeedUpdateControllerTest, ARefusedCheckOfThePresenterIsToldOf) {
  delegate.refuses = true;
  checkAsPresenter();
  EXPECT_THAT(desktop.done, ElementsAre("notify Tarvinel could not check for updates: "
                                        "Update check deferred while sharing"));
  EXPECT_EQ(server.requests().size(), 0U);
}

TEST_F(FeedUpdateControllerTest, AProbeTellsOnlyTheLog) {
  offer("1.10");
  controller->probe();
  awaitEnd();
  server.answer("/feed.xml", document("", "500 Oh"));
  controller->probe();
  awaitEnd();
  EXPECT_THAT(delegate.asked, ElementsAre(UpdateController::probe, UpdateController::probe));
  EXPECT_THAT(desktop.done, ElementsAre());
  EXPECT_THAT(log.lines(),
              ElementsAre("app|debug|update feed: the newest version is 1.10",
                          "app|debug|update check failed: The update feed's server answers with "
                          "status 500."));
}

TEST_F(FeedUpdateControllerTest, AProbeLeavesTheNewsToTheSchedule) {
  offer("1.10");
  controller->probe();
  awaitEnd();
  checkTomorrow();
  EXPECT_THAT(desktop.done, ElementsAre(available));
}

TEST_F(FeedUpdateControllerTest, MakesOneCheckAtATime) {
  offer("1.10");
  EXPECT_TRUE(controller->canCheckForUpdates());
  controller->checkForUpdates();
  EXPECT_FALSE(controller->canCheckForUpdates());
  EXPECT_THAT(changes, ElementsAre(false));
  controller->checkForUpdates();
  controller->probe();
  now += 48h;
  queue.tick();
  EXPECT_THAT(delegate.asked, ElementsAre(UpdateController::userInitiated));
  awaitEnd();
  EXPECT_THAT(changes, ElementsAre(false, true));
  EXPECT_EQ(server.requests().size(), 1U);
  EXPECT_THAT(desktop.done, ElementsAre(available, pageOpened));
}

TEST_F(FeedUpdateControllerTest, WithoutAFeedThereAreNoChecks) {
  feed.clear();
  start();
  EXPECT_EQ(controller->feedURL(), std::nullopt);
  EXPECT_FALSE(controller->canCheckForUpdates());
  controller->checkForUpdates();
  controller->probe();
  now += 48h;
  queue.tick();
  EXPECT_THAT(delegate.asked, ElementsAre());
  EXPECT_THAT(desktop.done, ElementsAre());
  EXPECT_THAT(changes, ElementsAre());
}

TEST_F(FeedUpdateControllerTest, AnOverrideIsReadInsteadOfTheFeed) {
  server.answer("/other.xml", document(feedOf("1.10")));
  delegate.feedOverride = server.url("/other.xml");
  EXPECT_EQ(controller->feedURL(), server.url("/feed.xml"));
  checkAsPresenter();
  EXPECT_THAT(desktop.done, ElementsAre(available, pageOpened));
}

TEST_F(FeedUpdateControllerTest, AnOverrideWillDoWithoutAFeed) {
  feed.clear();
  start();
  server.answer("/other.xml", document(feedOf("1.10")));
  delegate.feedOverride = server.url("/other.xml");
  EXPECT_EQ(controller->feedURL(), std::nullopt);
  EXPECT_TRUE(controller->canCheckForUpdates());
  checkAsPresenter();
  EXPECT_THAT(desktop.done, ElementsAre(available, pageOpened));
}

TEST_F(FeedUpdateControllerTest, AFeedThatMayNotBeReadIsToldOf) {
  delegate.feedOverride = "file:///etc/passwd";
  checkAsPresenter();
  EXPECT_THAT(desktop.done, ElementsAre("notify Tarvinel could not check for updates: "
                                        "The update feed's address is not an https address."));
}

TEST_F(FeedUpdateControllerTest, ASlowFeedIsToldOf) {
  limits.time = 50ms;
  start();
  server.answer("/feed.xml", drip("HTTP/1.1 200 OK\r\n\r\n<rss>"));
  checkAsPresenter();
  EXPECT_THAT(desktop.done, ElementsAre("notify Tarvinel could not check for updates: "
                                        "The update feed's server did not answer in time."));
}

TEST_F(FeedUpdateControllerTest, CanGoDuringACheck) {
  server.answer("/feed.xml", silence());
  controller->checkForUpdates();
  ASSERT_TRUE(spinUntil([this] { return server.requests().size() == 1; }));
  controller.reset();
  EXPECT_TRUE(spinUntil([this] { return server.ended() == 1; }));
  start();
  controller->checkForUpdates();
  controller.reset();
  EXPECT_THAT(desktop.done, ElementsAre());
}

TEST_F(FeedUpdateControllerTest, ADamagedMemoryIsNoHindrance) {
  folder.write("updates.json", "\xFF");
  start();
  offer("1.10");
  checkTomorrow();
  EXPECT_THAT(desktop.done, ElementsAre(available));
}

}  // namespace
}  // namespace tarvinel
