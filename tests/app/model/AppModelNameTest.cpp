#include "app/model/AppModel.h"
#include "app/terminal/Console.h"
#include "core/mdns/NameRegistrar.h"
#include "tests/app/model/ModelFixture.h"
#include "tests/support/FakeNameRegistrar.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <memory>
#include <optional>
#include <sstream>
#include <string>

namespace tarvinel {
namespace {

using test::FakeNames;
using testing::Contains;
using testing::ElementsAre;
using testing::IsEmpty;

constexpr const char* conflictText =
    "studio.local is taken on this network; set \"hostname\" in config.json to use another name";
constexpr const char* privacyRefusalText =
    "Allow Tarvinel under Privacy & Security › Local Network to publish studio.local";

/// A model with a real server and a console, on a network without a wired link.
class AppModelNameTest : public ModelFixture {
 protected:
  AppModelNameTest() { config.hostname = "studio"; }

  void launch() override {
    AppModel::Dependencies withNames = platform(mainQueue);
    withNames.nameRegistrar = names.factory();
    withNames.preferredHost = [this] { return host; };
    model = AppModel::create(config, withNames, uploads);
    console = std::make_shared<Console>(*model, out, [](int) {});
    model->setOnChange([this] { console->refresh(); });
    ASSERT_TRUE(mainQueue.runUntil([&] { return model->serverURL() || model->serverError(); }));
  }

  void TearDown() override { model.reset(); }  // before its dependencies

  void launchAndRegister() {
    launch();
    reply(DNSServiceCode::noError);
    ASSERT_EQ(model->nameURL(), nameURL());
  }

  /// Replies for the latest record; returns when the model has handled the reply.
  void reply(std::int32_t code) {
    names.reply(code);
    runWhatIsPosted();
  }

  void runWhatIsPosted() {
    bool reached = false;
    mainQueue.post([&reached] { reached = true; });
    ASSERT_TRUE(mainQueue.runUntil([&reached] { return reached; }));
  }

  void tick(int times) {
    for (int i = 0; i < times; ++i)
      mainQueue.tick();
  }

  std::string nameURL() const {
    return "http://studio.local:" + std::to_string(model->boundPort()) + "/";
  }

  /// Returns what the console has printed since the previous call.
  std::string printed() { return std::exchange(out, std::ostringstream()).str(); }

  FakeNames names;
  std::optional<std::string> host = "10.0.0.1";
  std::ostringstream out;
  std::shared_ptr<Console> console;
};

// What is published

TEST_F(AppModelNameTest, TheNameIsRegisteredOnceTheServerListens) {
  launch();
  EXPECT_THAT(names.calls(), ElementsAre("register studio.local. 10.0.0.1"));
  EXPECT_EQ(model->nameURL(), std::nullopt);
  reply(DNSServiceCode::noError);
  EXPECT_EQ(model->nameURL(), nameURL());
  EXPECT_EQ(model->nameError(), std::nullopt);
  EXPECT_THAT(log.lines(), Contains("mdns|info|registering studio.local. -> 10.0.0.1"));
  EXPECT_THAT(log.lines(), Contains("app|info|studio.local registered"));
}

TEST_F(AppModelNameTest, WithAPortInUseTheNameIsNeverPublished) {
  config.hostname = "";
  launch();
  const auto first = model;
  config.hostname = "studio";
  config.port = first->boundPort();
  launch();
  const std::string port = std::to_string(config.port);
  EXPECT_EQ(model->serverError(), "Can't listen on port " + port + ": Address already in use");
  tick(60);
  runWhatIsPosted();
  EXPECT_THAT(names.calls(), IsEmpty());
  EXPECT_EQ(model->nameError(), std::nullopt);
}

TEST_F(AppModelNameTest, AnEmptyHostnamePublishesNothingAndSaysNothing) {
  config.hostname = "";
  launch();
  tick(30);
  host = std::nullopt;
  tick(30);
  EXPECT_THAT(names.calls(), IsEmpty());
  EXPECT_EQ(model->nameURL(), std::nullopt);
  EXPECT_EQ(model->nameError(), std::nullopt);
}

TEST_F(AppModelNameTest, TheEndOfTheModelWithdrawsTheName) {
  launchAndRegister();
  model.reset();
  EXPECT_THAT(names.calls(), ElementsAre("register studio.local. 10.0.0.1", "withdraw"));
}

// Addresses

TEST_F(AppModelNameTest, WithoutAnAddressItSaysSoUntilThereIsOne) {
  host = std::nullopt;
  launch();
  EXPECT_EQ(model->nameError(), "No network address to publish studio.local for");
  EXPECT_THAT(names.calls(), IsEmpty());
  tick(4);
  host = "10.0.0.1";
  EXPECT_THAT(names.calls(), IsEmpty());
  tick(1);
  EXPECT_EQ(model->nameError(), std::nullopt);
  EXPECT_THAT(names.calls(), ElementsAre("register studio.local. 10.0.0.1"));
}

TEST_F(AppModelNameTest, AnotherAddressIsPutInPlaceAtEveryFifthTick) {
  launchAndRegister();
  tick(5);
  host = "10.0.0.2";
  tick(4);
  EXPECT_THAT(names.calls(), ElementsAre("register studio.local. 10.0.0.1"));
  tick(1);
  EXPECT_THAT(names.calls(), ElementsAre("register studio.local. 10.0.0.1", "update 10.0.0.2"));
  EXPECT_EQ(model->nameURL(), nameURL());
  EXPECT_EQ(model->serverURL(), "http://10.0.0.2:" + std::to_string(model->boundPort()) + "/");
  tick(60);
  EXPECT_THAT(names.calls(), ElementsAre("register studio.local. 10.0.0.1", "update 10.0.0.2"));
}

TEST_F(AppModelNameTest, AnUpdateThatFailsIsLoggedAndTriedAgain) {
  launchAndRegister();
  host = "10.0.0.2";
  names.respondWith(DNSServiceCode::unknown);
  tick(5);
  EXPECT_THAT(log.lines(),
              Contains("app|error|mDNS update to 10.0.0.2 failed: DNS service error -65537"));
  EXPECT_EQ(model->nameURL(), nameURL());
  EXPECT_EQ(model->nameError(), std::nullopt);
  names.respondWith(DNSServiceCode::noError);
  tick(10);
  EXPECT_THAT(names.calls(),
              ElementsAre("register studio.local. 10.0.0.1", "update 10.0.0.2", "update 10.0.0.2"));
}

TEST_F(AppModelNameTest, TheNameGoesWithTheAddressAndReturnsWithIt) {
  launchAndRegister();
  host = std::nullopt;
  tick(5);
  EXPECT_EQ(model->nameURL(), std::nullopt);
  EXPECT_EQ(model->nameError(), "No network address to publish studio.local for");
  EXPECT_THAT(names.calls(), ElementsAre("register studio.local. 10.0.0.1", "withdraw"));
  host = "10.0.0.1";
  tick(5);
  reply(DNSServiceCode::noError);
  EXPECT_EQ(model->nameURL(), nameURL());
  EXPECT_EQ(model->nameError(), std::nullopt);
}

TEST_F(AppModelNameTest, AnAddressThatChangesDuringTheAttemptIsPublishedAnew) {
  launch();
  host = "10.0.0.2";
  tick(5);
  EXPECT_THAT(names.calls(), ElementsAre("register studio.local. 10.0.0.1", "withdraw",
                                         "register studio.local. 10.0.0.2"));
}

TEST_F(AppModelNameTest, WhatARecordStillSaysAfterItWasWithdrawnIsVoid) {
  launch();
  names.reply(DNSServiceCode::noError);  // pending on the model's queue
  host = std::nullopt;
  tick(5);
  runWhatIsPosted();
  EXPECT_EQ(model->nameURL(), std::nullopt);
  EXPECT_EQ(model->nameError(), "No network address to publish studio.local for");
}

// Failures

TEST_F(AppModelNameTest, ANameThatIsTakenAtOnceOrLaterIsReported) {
  launchAndRegister();
  reply(DNSServiceCode::nameConflict);
  EXPECT_EQ(model->nameURL(), std::nullopt);
  EXPECT_EQ(model->nameError(), conflictText);
  EXPECT_THAT(log.lines(), Contains("app|error|studio.local name conflict"));
}

TEST_F(AppModelNameTest, ARegistrationThatFailsIsReportedWithItsCode) {
  launchAndRegister();
  reply(DNSServiceCode::unknown);
  EXPECT_EQ(model->nameURL(), std::nullopt);
  EXPECT_EQ(model->nameError(), "Couldn't publish studio.local (error -65537)");
  EXPECT_THAT(log.lines(), Contains("app|error|studio.local registration failed: -65537"));
  reply(DNSServiceCode::notPermitted);
  EXPECT_EQ(model->nameError(), "Couldn't publish studio.local (error -65555)");
}

TEST_F(AppModelNameTest, ARefusalByPrivacySettingsIsReported) {
  launch();
  reply(DNSServiceCode::policyDenied);
  EXPECT_EQ(model->nameURL(), std::nullopt);
  EXPECT_EQ(model->nameError(), privacyRefusalText);
  EXPECT_THAT(log.lines(), Contains("app|error|studio.local refused by Local Network privacy"));
}

TEST_F(AppModelNameTest, ARefusalAtOnceByPrivacySettingsIsReportedWithItsCode) {
  names.respondWith(DNSServiceCode::notAllowed);
  launch();
  EXPECT_EQ(model->nameError(), privacyRefusalText);
  EXPECT_THAT(log.lines(),
              Contains("app|error|publish studio.local refused by Local Network privacy: -65571"));
}

TEST_F(AppModelNameTest, AFailureAtOnceIsReportedWithItsReason) {
  names.respondWith(DNSServiceCode::unknown);
  launch();
  EXPECT_EQ(model->nameError(), "Couldn't publish studio.local: DNS service error -65537");
  EXPECT_THAT(log.lines(),
              Contains("app|error|publish studio.local failed: DNS service error -65537"));
}

TEST_F(AppModelNameTest, WhatFailedIsTriedAgainAtEveryThirtiethTickOnly) {
  launch();
  reply(DNSServiceCode::nameConflict);
  tick(29);
  EXPECT_THAT(names.calls(), ElementsAre("register studio.local. 10.0.0.1"));
  tick(1);
  EXPECT_THAT(names.calls(), ElementsAre("register studio.local. 10.0.0.1", "withdraw",
                                         "register studio.local. 10.0.0.1"));
  EXPECT_EQ(model->nameError(), std::nullopt);
  tick(29);
  reply(DNSServiceCode::nameConflict);
  EXPECT_EQ(names.calls().size(), 3);
  tick(1);
  EXPECT_EQ(names.calls().size(), 5);
  reply(DNSServiceCode::noError);
  EXPECT_EQ(model->nameURL(), nameURL());
}

TEST_F(AppModelNameTest, AnAttemptUnderWayIsNotRepeated) {
  launch();
  tick(60);
  EXPECT_THAT(names.calls(), ElementsAre("register studio.local. 10.0.0.1"));
}

// The console's lines

TEST_F(AppModelNameTest, TheConsoleShowsTheNameBesideTheAddress) {
  launchAndRegister();
  EXPECT_EQ(printed(), "Starting server…\nNot sharing\nOpen " + *model->serverURL() +
                           " in any browser\nOpen " + nameURL() + " in any browser\n");
  console->execute("status");
  EXPECT_EQ(printed(), "Open " + *model->serverURL() + " in any browser\nOpen " + nameURL() +
                           " in any browser\nNot sharing\n");
}

TEST_F(AppModelNameTest, TheConsoleSaysOnceWhatFailsAgainAndAgain) {
  launch();
  printed();
  for (int attempt = 0; attempt < 3; ++attempt) {
    reply(DNSServiceCode::nameConflict);
    tick(30);
  }
  EXPECT_EQ(printed(), std::string(conflictText) + "\n");
  reply(DNSServiceCode::nameConflict);
  console->execute("status");
  EXPECT_EQ(printed(),
            "Open " + *model->serverURL() + " in any browser\n" + conflictText + "\nNot sharing\n");
  tick(30);
  reply(DNSServiceCode::noError);
  EXPECT_EQ(printed(), "Open " + nameURL() + " in any browser\n");
}

TEST_F(AppModelNameTest, WithoutANetworkTheConsoleSaysSoOnce) {
  host = std::nullopt;
  launch();
  tick(60);
  EXPECT_EQ(printed(), "Starting server…\nNot sharing\nOpen " + *model->serverURL() +
                           " in any browser\nNo network address to publish studio.local for\n");
  EXPECT_EQ(model->serverURL(), "http://localhost:" + std::to_string(model->boundPort()) + "/");
}

}  // namespace
}  // namespace tarvinel
