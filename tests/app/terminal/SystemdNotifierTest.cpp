#include "app/terminal/SystemdNotifier.h"
#include "tests/app/model/ModelFixture.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <fmt/format.h>

#include <algorithm>
#include <optional>
#include <string>
#include <vector>

namespace tarvinel {
namespace {

using testing::Contains;
using testing::Each;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::Not;

class ServiceNoticeTest : public ModelFixture {
 protected:
  void launch() override {
    ModelFixture::launch();
    notice.emplace(*model, [this](const std::string& state) { told.push_back(state); });
    model->setOnChange([this] { notice->refresh(); });
  }

  ~ServiceNoticeTest() override {
    if (model) model->setOnChange({});
  }

  std::vector<std::string> told;
  std::optional<SystemdNotifier> notice;
};

TEST_F(ServiceNoticeTest, IsReadyOnceTheServerListens) {
  launch();
  EXPECT_THAT(told, ElementsAre("STATUS=Starting server…"));
  ASSERT_TRUE(mainQueue.runUntil([&] { return model->serverURL().has_value(); }));
  EXPECT_THAT(told, ElementsAre("STATUS=Starting server…", "READY=1",
                                fmt::format("STATUS={} · Not sharing", *model->serverURL())));
}

TEST_F(ServiceNoticeTest, TellsWhatIsSharedAndIsReadyOnlyOnce) {
  launchAndWait();
  startSharing();
  EXPECT_EQ(told.back(), fmt::format("STATUS={} · {}", *model->serverURL(), model->statusLine()));
  EXPECT_THAT(told.back(), HasSubstr("Sharing"));
  EXPECT_EQ(std::count(told.begin(), told.end(), "READY=1"), 1);
}

TEST_F(ServiceNoticeTest, TellsNothingTwice) {
  launchAndWait();
  const auto before = told.size();
  notice->refresh();
  EXPECT_EQ(told.size(), before);
}

TEST_F(ServiceNoticeTest, IsNeverReadyWithoutAServer) {
  launchAndWait();
  config.port = model->boundPort();
  const auto holder = model;
  holder->setOnChange({});
  told.clear();
  launch();
  ASSERT_TRUE(mainQueue.runUntil([&] { return model->serverError().has_value(); }));
  EXPECT_THAT(told, Not(Contains("READY=1")));
  EXPECT_EQ(told.back(), "STATUS=" + *model->serverError());
}

TEST_F(ServiceNoticeTest, TellsThatItEnds) {
  launchAndWait();
  model->setOnChange({});
  notice.reset();
  EXPECT_EQ(told.back(), "STOPPING=1");
}

TEST_F(ServiceNoticeTest, ATitleCannotTellTheServiceManagerAnythingElse) {
  screen.content.windows = {
      {3, "a\nMAINPID=1", ShareableApplication{1, "App", "app"}, 0, {0, 0, 640, 480}}};
  launchAndWait();
  model->select("window-3");
  model->startSharing();
  ASSERT_TRUE(mainQueue.runUntil([&] { return model->isSharing(); }));
  EXPECT_THAT(told.back(), HasSubstr("MAINPID=1"));
  EXPECT_THAT(told, Each(Not(HasSubstr("\n"))));
}

}  // namespace
}  // namespace tarvinel
