#include "app/updates/UpdateController.h"
#include "app/updates/UpdaterModel.h"
#include "tests/support/CapturedLog.h"

#include <gmock/gmock.h>

#include <memory>
#include <optional>
#include <string>
#include <utility>

namespace tarvinel {
namespace {

using test::CapturedLog;
using testing::ElementsAre;

/// A controller that a test inspects and whose state it sets.
class ScriptedController : public UpdateController {
 public:
  explicit ScriptedController(Delegate& asked) : delegate(asked) {}

  std::optional<std::string> feedURL() const override { return feed; }
  bool canCheckForUpdates() const override { return canCheck; }
  void setOnChange(std::function<void()> onChange) override { changed = std::move(onChange); }
  void checkForUpdates() override { ++checks; }

  void setCanCheck(bool can) {
    canCheck = can;
    changed();
  }

  Delegate& delegate;
  std::optional<std::string> feed;
  bool canCheck = false;
  std::function<void()> changed;
  int checks = 0;
};

class UpdaterModelTest : public testing::Test {
 protected:
  /// Creates a model whose controller has this feed, or none.
  std::unique_ptr<UpdaterModel> model(const std::optional<std::string>& feed,
                                      const std::optional<std::string>& feedOverride = {}) {
    const auto makeController = [this, feed](UpdateController::Delegate& delegate) {
      auto made = std::make_unique<ScriptedController>(delegate);
      made->feed = feed;
      made->canCheck = canCheckAtFirst;
      controller = made.get();
      return made;
    };
    return std::make_unique<UpdaterModel>(makeController, environment(feedOverride));
  }

  UpdaterModel::Environment environment(const std::optional<std::string>& feedOverride = {}) {
    return {log.category("app"), feedOverride, [this] { return sharing; }, [this] { ++changes; }};
  }

  CapturedLog log;
  ScriptedController* controller = nullptr;
  bool canCheckAtFirst = false;
  bool sharing = false;
  int changes = 0;
};

TEST_F(UpdaterModelTest, LogsTheFeed) {
  model("https://updates.example/feed.xml");
  EXPECT_THAT(log.lines(), ElementsAre("app|debug|feed: https://updates.example/feed.xml"));
}

TEST_F(UpdaterModelTest, LogsNoneWhenThereIsNoFeed) {
  model({});
  EXPECT_THAT(log.lines(), ElementsAre("app|debug|feed: none"));
}

TEST_F(UpdaterModelTest, LogsNoneWhenThereIsNoController) {
  const UpdaterModel alone(nullptr, environment());
  EXPECT_THAT(log.lines(), ElementsAre("app|debug|feed: none"));
}

TEST_F(UpdaterModelTest, LogsAnOverrideInsteadOfTheFeed) {
  model("https://updates.example/feed.xml", "https://other.example/feed.xml");
  EXPECT_THAT(log.lines(),
              ElementsAre("app|debug|feed override in effect: https://other.example/feed.xml"));
}

TEST_F(UpdaterModelTest, GivesTheOverrideToTheController) {
  const auto overridden = model("https://updates.example/feed.xml", "https://other.example/f.xml");
  EXPECT_EQ(controller->delegate.feedURLString(), "https://other.example/f.xml");
}

TEST_F(UpdaterModelTest, GivesNothingToTheControllerWithoutAnOverride) {
  const auto own = model("https://updates.example/feed.xml");
  EXPECT_EQ(controller->delegate.feedURLString(), std::nullopt);
}

TEST_F(UpdaterModelTest, RefusesAScheduledCheckWhileSharing) {
  const auto sharer = model("https://updates.example/feed.xml");
  sharing = true;
  try {
    controller->delegate.mayPerform(UpdateController::scheduled);
    ADD_FAILURE() << "it was not refused";
  } catch (const UpdateCheckDeferred& refusal) {
    EXPECT_STREQ(refusal.what(), "Update check deferred while sharing");
    EXPECT_EQ(UpdateCheckDeferred::code, 1);
    EXPECT_EQ(UpdateCheckDeferred::domain(), "org.tarvinel.Tarvinel.updater");
  }
  EXPECT_THAT(log.lines(), ElementsAre("app|debug|feed: https://updates.example/feed.xml",
                                       "app|debug|scheduled update check deferred: sharing is on"));
}

TEST_F(UpdaterModelTest, AllowsEveryOtherCheckWhileSharing) {
  const auto sharer = model({});
  sharing = true;
  for (const int check : {0, 2, 3, -1}) {
    EXPECT_NO_THROW(controller->delegate.mayPerform(check)) << check;
  }
  EXPECT_THAT(log.lines(), ElementsAre("app|debug|feed: none"));
}

TEST_F(UpdaterModelTest, AllowsEveryCheckWhileNotSharing) {
  const auto idle = model({});
  for (const int check : {0, 1, 2, 3, -1}) {
    EXPECT_NO_THROW(controller->delegate.mayPerform(check)) << check;
  }
  EXPECT_THAT(log.lines(), ElementsAre("app|debug|feed: none"));
}

TEST_F(UpdaterModelTest, AsksAtEachCheckWhetherTheScreenIsShared) {
  const auto sharer = model({});
  sharing = true;
  EXPECT_THROW(controller->delegate.mayPerform(UpdateController::scheduled), UpdateCheckDeferred);
  sharing = false;
  EXPECT_NO_THROW(controller->delegate.mayPerform(UpdateController::scheduled));
}

TEST_F(UpdaterModelTest, CanCheckAsSoonAsTheControllerCan) {
  canCheckAtFirst = true;
  EXPECT_TRUE(model({})->canCheckForUpdates());
  EXPECT_EQ(changes, 0);
}

TEST_F(UpdaterModelTest, MirrorsWhetherTheControllerCanCheck) {
  const auto mirror = model({});
  EXPECT_FALSE(mirror->canCheckForUpdates());
  controller->setCanCheck(true);
  EXPECT_TRUE(mirror->canCheckForUpdates());
  EXPECT_EQ(changes, 1);
  controller->setCanCheck(false);
  EXPECT_FALSE(mirror->canCheckForUpdates());
  EXPECT_EQ(changes, 2);
}

TEST_F(UpdaterModelTest, AnUnchangedValueIsNoChange) {
  const auto mirror = model({});
  controller->setCanCheck(false);
  EXPECT_EQ(changes, 0);
}

TEST_F(UpdaterModelTest, HandsThePresentersWishToTheController) {
  canCheckAtFirst = true;
  sharing = true;
  const auto asked = model({});
  asked->checkForUpdates();
  EXPECT_EQ(controller->checks, 1);
}

TEST_F(UpdaterModelTest, AsksForNoCheckThatCannotBeMade) {
  const auto mirror = model({});
  mirror->checkForUpdates();
  EXPECT_EQ(controller->checks, 0);
  controller->setCanCheck(true);
  mirror->checkForUpdates();
  EXPECT_EQ(controller->checks, 1);
}

TEST_F(UpdaterModelTest, WithoutAControllerNothingCanBeChecked) {
  UpdaterModel alone(nullptr, environment());
  EXPECT_FALSE(alone.canCheckForUpdates());
  alone.checkForUpdates();
  EXPECT_EQ(changes, 0);
}

}  // namespace
}  // namespace tarvinel
