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

class SystemdNotifierTest : public ModelFixture {
 protected:
  void launch() override {
    ModelFixture::launch();
    notice.emplace(*model, [this](const std::string& state) { sent.push_back(state); });
    model->setOnChange([this] { notice->refresh(); });
  }

  ~SystemdNotifierTest() override {
    if (model) model->setOnChange({});
  }

  std::vector<std::string> sent;
  std::optional<SystemdNotifier> notice;
};

TEST_F(SystemdNotifierTest, IsReadyOnceTheServerListens) {
  launch();
  EXPECT_THAT(sent, ElementsAre("STATUS=Starting server…"));
  ASSERT_TRUE(mainQueue.runUntil([&] { return model->serverURL().has_value(); }));
  EXPECT_THAT(sent, ElementsAre("STATUS=Starting server…", "READY=1",
                                fmt::format("STATUS={} · Not sharing", *model->serverURL())));
}

TEST_F(SystemdNotifierTest, TellsWhatIsSharedAndIsReadyOnlyOnce) {
  launchAndWait();
  startSharing();
  EXPECT_EQ(sent.back(), fmt::format("STATUS={} · {}", *model->serverURL(), model->statusLine()));
  EXPECT_THAT(sent.back(), HasSubstr("Sharing"));
  EXPECT_EQ(std::count(sent.begin(), sent.end(), "READY=1"), 1);
}

TEST_F(SystemdNotifierTest, TellsNothingTwice) {
  launchAndWait();
  const auto before = sent.size();
  notice->refresh();
  EXPECT_EQ(sent.size(), before);
}

TEST_F(SystemdNotifierTest, IsNeverReadyWithoutAServer) {
  launchAndWait();
  config.port = model->boundPort();
  const auto holder = model;
  holder->setOnChange({});
  sent.clear();
  launch();
  ASSERT_TRUE(mainQueue.runUntil([&] { return model->serverError().has_value(); }));
  EXPECT_THAT(sent, Not(Contains("READY=1")));
  EXPECT_EQ(sent.back(), "STATUS=" + *model->serverError());
}

TEST_F(SystemdNotifierTest, TellsThatItEnds) {
  launchAndWait();
  model->setOnChange({});
  notice.reset();
  EXPECT_EQ(sent.back(), "STOPPING=1");
}

TEST_F(SystemdNotifierTest, ATitleCannotTellTheServiceManagerAnythingElse) {
  screen.content.windows = {
      {3, "a\nMAINPID=1", ShareableApplication{1, "App", "app"}, 0, {0, 0, 640, 480}}};
  launchAndWait();
  model->select("window-3");
  model->startSharing();
  ASSERT_TRUE(mainQueue.runUntil([&] { return model->isSharing(); }));
  EXPECT_THAT(sent.back(), HasSubstr("MAINPID=1"));
  EXPECT_THAT(sent, Each(Not(HasSubstr("\n"))));
}

}  // namespace
}  // namespace tarvinel
