#include "core/frames/PixelBuffer.h"
#include "core/frames/StreamPolicy.h"
#include "core/pages/HelpPage.h"
#include "tests/app/model/ModelFixture.h"
#include "tests/support/DecodedJPEG.h"
#include "tests/support/Eventually.h"
#include "tests/support/TestClient.h"

#include <asio/io_context.hpp>
#include <asio/ip/tcp.hpp>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <fmt/format.h>

#include <algorithm>
#include <cmath>
#include <filesystem>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace tarvinel {
namespace {

using test::CapturedLog;
using test::DecodedJPEG;
using test::eventually;
using test::ManualMainQueue;
using test::TestClient;
using testing::Contains;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsSupersetOf;
using testing::Not;
using testing::StartsWith;

class AppModelTest : public ModelFixture {
 protected:
  void launch() override {
    ModelFixture::launch();
    model->setOnChange([this] { ++changes; });
  }

  std::string status() const {
    TestClient client(model->boundPort());
    client.send("GET /status HTTP/1.1\r\n\r\n");
    const std::string answer = client.readToEnd();
    return answer.substr(answer.find("\r\n\r\n") + 4);
  }

  /// Returns the response to an upload by Sam.
  std::string uploaded(std::string_view file) const {
    TestClient client(model->boundPort());
    client.send("PUT /upload/Sam/" + std::string(file) +
                " HTTP/1.1\r\nContent-Length: 5\r\n\r\nphoto");
    return client.readToEnd();
  }

  void openUploads() {
    model->toggleUploads();
    ASSERT_TRUE(mainQueue.runUntil([&] { return model->uploadStatus()->enabled; }));
  }

  long listings() const {
    const auto lines = log.lines();
    return std::ranges::count_if(
        lines, [](const std::string& line) { return line.starts_with("capture|info|sources:"); });
  }

  int changes = 0;
};

// Launch

TEST_F(AppModelTest, BeginsWithTheServerAndTheSources) {
  launch();
  EXPECT_EQ(model->boundPort(), 80);
  EXPECT_EQ(model->serverURL(), std::nullopt);
  EXPECT_EQ(model->statusLine(), "Not sharing");
  EXPECT_EQ(model->streamLine(), std::nullopt);
  ASSERT_TRUE(mainQueue.runUntil([&] { return model->serverURL() && !model->sources().empty(); }));
  EXPECT_THAT(*model->serverURL(), HasSubstr(":" + std::to_string(model->boundPort()) + "/"));
  EXPECT_EQ(model->sources().front().id, "display-7");
  EXPECT_FALSE(model->isSharing());
  EXPECT_EQ(model->motionFPS(), 8);
}

TEST_F(AppModelTest, APortInUseBecomesTheServerErrorAndALogLine) {
  launchAndWait();
  CapturedLog secondLog;
  TarvinelConfig samePort = config;
  samePort.port = model->boundPort();
  ManualMainQueue secondQueue;
  AppModel::Dependencies platformOfSecond = platform(secondQueue);
  platformOfSecond.log = secondLog.log();
  const auto second = AppModel::create(samePort, platformOfSecond, uploads);
  ASSERT_TRUE(secondQueue.runUntil([&] { return second->serverError().has_value(); }));
  const std::string port = std::to_string(samePort.port);
  EXPECT_EQ(second->serverError(), "Can't listen on port " + port + ": Address already in use");
  EXPECT_EQ(second->serverURL(), std::nullopt);
  EXPECT_THAT(secondLog.lines(), Contains("app|error|server start failed on port " + port +
                                          ": Address already in use"));
}

// Sources

TEST_F(AppModelTest, AFailedListingShowsThePermissionHintUntilOneSucceeds) {
  screen.listFailure = failure("no server");
  launch();
  ASSERT_TRUE(mainQueue.runUntil([&] { return model->permissionHint().has_value(); }));
  EXPECT_EQ(model->permissionHint(),
            "Screen Recording permission is required. Allow Tarvinel in System Settings › Privacy "
            "& Security › Screen & System Audio Recording, then relaunch Tarvinel.");
  onScreen([&] { screen.listFailure = nullptr; });
  refresh();
  EXPECT_EQ(model->permissionHint(), std::nullopt);
}

TEST_F(AppModelTest, OnlyAListedSourceCanBeSelected) {
  launchAndWait();
  model->select("display-8");
  EXPECT_EQ(model->selectedID(), std::nullopt);
  model->select("display-7");
  EXPECT_EQ(model->selectedID(), "display-7");
  model->select("display-8");
  EXPECT_EQ(model->selectedID(), "display-7");
}

TEST_F(AppModelTest, ASelectedSourceThatIsNoLongerListedIsDeselected) {
  launchAndWait();
  model->select("display-7");
  onScreen([&] { screen.content.displays.front().displayID = 8; });
  refresh();
  EXPECT_EQ(model->selectedID(), std::nullopt);
  EXPECT_EQ(model->sources().front().id, "display-8");
}

TEST_F(AppModelTest, ASharedSourceThatIsNoLongerListedEndsTheShareWithAMessage) {
  launchAndWait();
  startSharing();
  onScreen([&] { screen.content.displays.front().displayID = 8; });
  refresh();
  EXPECT_FALSE(model->isSharing());
  EXPECT_EQ(model->selectedID(), std::nullopt);
  EXPECT_EQ(model->statusLine(), "Not sharing");
  const std::string why = "Sharing stopped: That source is no longer available. Pick another.";
  EXPECT_EQ(model->captureError(), why);
  EXPECT_THAT(desktop.done, ElementsAre("awake", "alert Tarvinel: " + why, "may sleep"));
}

TEST_F(AppModelTest, AWindowThatIsMinimisedWhileItIsSharedStaysShared) {
  const ShareableWindow notes{
      21, "Notes", ShareableApplication{400, "Editor", {}}, 0, {10, 10, 600, 400}};
  screen.content.windows = {notes};
  launchAndWait();
  model->select("window-21");
  model->startSharing();
  ASSERT_TRUE(mainQueue.runUntil([&] { return model->isSharing(); }));
  onScreen([&] {
    screen.content.windows = {};
    screen.content.windowsOutOfSight = {notes};
  });
  refresh();
  EXPECT_TRUE(model->isSharing());
  EXPECT_EQ(model->selectedID(), "window-21");
  EXPECT_EQ(model->statusLine(), "Sharing Editor: Notes · 0 viewers");
  onScreen([&] { screen.content.windowsOutOfSight = {}; });
  refresh();
  EXPECT_FALSE(model->isSharing());
}

TEST_F(AppModelTest, ASelectedSourceThatIsNoLongerListedLeavesTheShareOfAnother) {
  screen.content.displays.push_back({8, {1280, 0, 640, 480}, false});
  launchAndWait();
  startSharing();
  onScreen([&] { screen.holdStarts = true; });
  model->select("display-8");
  onScreen([&] { screen.content.displays.pop_back(); });
  refresh();
  EXPECT_EQ(model->selectedID(), std::nullopt);
  EXPECT_TRUE(model->isSharing());
  EXPECT_EQ(model->statusLine(), "Sharing Display 1 (main) 1280×720 · 0 viewers");
  EXPECT_FALSE(screen.streams.front()->stopped);
  letStart(std::make_exception_ptr(
      std::system_error(std::make_error_code(std::errc::operation_canceled))));
  ASSERT_TRUE(mainQueue.runUntil([&] { return model->selectedID() == "display-7"; }));
  EXPECT_TRUE(model->isSharing());
}

TEST_F(AppModelTest, WhenIdleTheListIsReadAgainEveryTenTicksWhileSharingNever) {
  launchAndWait();
  EXPECT_EQ(listings(), 1);
  for (int i = 0; i < 20; ++i)
    mainQueue.tick();
  refresh();  // when it has ended, everything requested before it has too
  EXPECT_EQ(listings(), 4);
  startSharing();
  for (int i = 0; i < 20; ++i)
    mainQueue.tick();
  refresh();
  EXPECT_EQ(listings(), 5);
}

// Sharing

TEST_F(AppModelTest, TheEndClosesTheServerForThoseWhoWatchAndForAllOthers) {
  launchAndWait();
  startSharing();
  const std::uint16_t port = model->boundPort();
  TestClient watching = viewer();
  changes = 0;
  model->end();
  watching.readToEnd();
  EXPECT_THROW(TestClient{port}, std::system_error);
  EXPECT_FALSE(model->isSharing());
  EXPECT_EQ(changes, 0) << "who looks at the model may have gone already";
}

TEST_F(AppModelTest, WithoutASelectionStartDoesNothing) {
  launchAndWait();
  model->startSharing();
  refresh();
  EXPECT_FALSE(model->isSharing());
  EXPECT_TRUE(screen.streams.empty());
}

TEST_F(AppModelTest, SharingShowsInTheLinesAndInTheStatusDocument) {
  launchAndWait();
  EXPECT_THAT(status(), StartsWith(R"({"sharing":false,"viewers":0,"fps":8,)"));
  startSharing();
  EXPECT_EQ(model->statusLine(), "Sharing Display 1 (main) 1280×720 · 0 viewers");
  EXPECT_EQ(model->streamLine(), "Wi-Fi · 8 fps · 0 viewers · 0 Mbps");
  EXPECT_THAT(
      status(),
      StartsWith(R"({"sharing":true,"viewers":0,"source":"Display 1 (main) 1280×720","fps":8,)"));
  model->stopSharing();
  EXPECT_EQ(model->statusLine(), "Not sharing");
  EXPECT_EQ(model->streamLine(), std::nullopt);
  EXPECT_THAT(status(), StartsWith(R"({"sharing":false,"viewers":0,"fps":8,)"));
}

TEST_F(AppModelTest, AStartThatFailsBecomesTheCaptureErrorUntilTheNextStart) {
  launchAndWait();
  onScreen([&] { screen.startFailure = failure("the screen is locked"); });
  model->select("display-7");
  model->startSharing();
  ASSERT_TRUE(mainQueue.runUntil([&] { return model->captureError().has_value(); }));
  EXPECT_EQ(model->captureError(), "the screen is locked");
  EXPECT_FALSE(model->isSharing());
  onScreen([&] { screen.startFailure = nullptr; });
  startSharing();
  EXPECT_EQ(model->captureError(), std::nullopt);
}

TEST_F(AppModelTest, ARefusalInTheDesktopsDialogIsNoError) {
  launchAndWait();
  onScreen([&] { screen.holdStarts = true; });
  model->select("display-7");
  model->startSharing();
  onScreen([&] {
    screen.streams.back()->pendingStart(std::make_exception_ptr(
        std::system_error(std::make_error_code(std::errc::operation_canceled))));
  });
  ASSERT_TRUE(mainQueue.runUntil([&] {
    return std::ranges::count(log.lines(),
                              "capture|error|startCapture failed for Display 1 "
                              "(main) 1280×720: Operation canceled") == 1;
  }));
  refresh();
  EXPECT_EQ(model->captureError(), std::nullopt);
  EXPECT_FALSE(model->isSharing());
  EXPECT_EQ(model->selectedID(), "display-7");
}

TEST_F(AppModelTest, ARefusalWhileSharingLeavesTheShareAsItWas) {
  screen.content.displays.push_back({8, {1280, 0, 640, 480}, false});
  launchAndWait();
  startSharing();
  onScreen([&] { screen.holdStarts = true; });
  model->select("display-8");
  EXPECT_EQ(model->statusLine(), "Sharing Display 1 (main) 1280×720 · 0 viewers");
  onScreen([&] {
    screen.streams.back()->pendingStart(std::make_exception_ptr(
        std::system_error(std::make_error_code(std::errc::operation_canceled))));
  });
  ASSERT_TRUE(mainQueue.runUntil([&] { return model->selectedID() == "display-7"; }));
  EXPECT_TRUE(model->isSharing());
  EXPECT_EQ(model->statusLine(), "Sharing Display 1 (main) 1280×720 · 0 viewers");
  EXPECT_EQ(model->captureError(), std::nullopt);
  EXPECT_FALSE(screen.streams.front()->stopped);
  EXPECT_THAT(desktop.done, ElementsAre("awake"));
}

TEST_F(AppModelTest, AShareThatEndsWhileThePresenterIsAskedForAnotherLeavesTheQuestion) {
  screen.content.displays.push_back({8, {1280, 0, 640, 480}, false});
  launchAndWait();
  startSharing();
  onScreen([&] { screen.holdStarts = true; });
  model->select("display-8");
  onScreen([&] { screen.streams.front()->handlers.onStop(failure("it was closed")); });
  ASSERT_TRUE(mainQueue.runUntil([&] { return model->captureError().has_value(); }));
  refresh();
  EXPECT_EQ(model->captureError(), "Sharing stopped: it was closed");
  EXPECT_FALSE(model->isSharing());
  EXPECT_EQ(model->selectedID(), "display-8");
  onScreen([&] {
    ASSERT_FALSE(screen.streams.back()->stopped);
    screen.streams.back()->pendingStart({});
  });
  ASSERT_TRUE(mainQueue.runUntil([&] { return model->isSharing(); }));
  EXPECT_EQ(model->captureError(), std::nullopt);
  EXPECT_EQ(model->statusLine(), "Sharing Display 2 640×480 · 0 viewers");
  EXPECT_THAT(desktop.done, ElementsAre("awake", "alert Tarvinel: Sharing stopped: it was closed",
                                        "may sleep", "dismiss alert", "awake"));
}

TEST_F(AppModelTest, AShareThatEndsByItselfAfterARefusalEndsAsAlways) {
  screen.content.displays.push_back({8, {1280, 0, 640, 480}, false});
  launchAndWait();
  startSharing();
  onScreen([&] { screen.holdStarts = true; });
  model->select("display-8");
  onScreen([&] {
    screen.streams.back()->pendingStart(std::make_exception_ptr(
        std::system_error(std::make_error_code(std::errc::operation_canceled))));
  });
  ASSERT_TRUE(mainQueue.runUntil([&] { return model->selectedID() == "display-7"; }));
  onScreen([&] { screen.streams.front()->handlers.onStop(failure("it was closed")); });
  ASSERT_TRUE(mainQueue.runUntil([&] { return model->captureError().has_value(); }));
  EXPECT_FALSE(model->isSharing());
  EXPECT_EQ(model->statusLine(), "Not sharing");
}

TEST_F(AppModelTest, WhatTheDesktopGivesAgainstAskingAgainIsRemembered) {
  const auto tokens = std::make_shared<portal::RestoreTokens>();
  const auto launchWith = [&](std::shared_ptr<portal::RestoreTokens> given) {
    auto parts = platform(mainQueue);
    parts.restoreTokens = std::move(given);
    model.reset();
    model = AppModel::create(config, parts, uploads);
  };
  launchWith(tokens);
  tokens->remember(portal::RestoreTokens::displayKey, "once");
  ASSERT_TRUE(
      mainQueue.runUntil([&] { return std::filesystem::exists(folder / "preferences.json"); }));
  const auto later = std::make_shared<portal::RestoreTokens>();
  launchWith(later);
  EXPECT_EQ(later->token(portal::RestoreTokens::displayKey), "once");
}

TEST_F(AppModelTest, ACaptureThatEndsByItselfSaysWhyAndEndsTheShare) {
  launchAndWait();
  startSharing();
  onScreen(
      [&] { screen.streams.back()->handlers.onStop(failure("the display was disconnected")); });
  ASSERT_TRUE(mainQueue.runUntil([&] { return model->captureError().has_value(); }));
  const std::string why = "Sharing stopped: the display was disconnected";
  EXPECT_EQ(model->captureError(), why);
  EXPECT_THAT(desktop.done, ElementsAre("awake", "alert Tarvinel: " + why, "may sleep"));
  EXPECT_FALSE(model->isSharing());
  EXPECT_EQ(model->statusLine(), "Not sharing");
  startSharing();
  EXPECT_EQ(model->captureError(), std::nullopt);
}

TEST_F(AppModelTest, ALateReportOfAStoppedCaptureLeavesTheNextShare) {
  launchAndWait();
  startSharing();
  onScreen([&] { screen.streams.back()->handlers.onStop(failure("the window was closed")); });
  model->stopSharing();
  model->startSharing();
  ASSERT_TRUE(mainQueue.runUntil([&] { return model->isSharing(); }));
  refresh();  // the report has arrived by then
  EXPECT_TRUE(model->isSharing());
  EXPECT_EQ(model->captureError(), std::nullopt);
  EXPECT_THAT(desktop.done, ElementsAre("awake", "may sleep", "awake"));
}

TEST_F(AppModelTest, ALateReportOfACaptureThatWasLeftForAnotherEndsNothing) {
  screen.content.displays.push_back({8, {1280, 0, 640, 480}, false});
  launchAndWait();
  startSharing();
  model->select("display-8");
  refresh();
  ASSERT_EQ(screen.streams.size(), 2U);
  onScreen([&] { screen.streams.front()->handlers.onStop(failure("late")); });
  refresh();
  EXPECT_TRUE(model->isSharing());
  EXPECT_EQ(model->captureError(), std::nullopt);
  onScreen([&] { screen.streams.back()->handlers.onStop(failure("it was closed")); });
  ASSERT_TRUE(mainQueue.runUntil([&] { return model->captureError().has_value(); }));
  EXPECT_FALSE(model->isSharing());
}

TEST_F(AppModelTest, AStopOvertakesAStartThatIsStillUnderWay) {
  launchAndWait();
  onScreen([&] { screen.holdStarts = true; });
  model->select("display-7");
  model->startSharing();
  model->stopSharing();
  refresh();
  EXPECT_FALSE(model->isSharing());
  EXPECT_TRUE(screen.streams.empty() || screen.streams.back()->stopped);
  EXPECT_THAT(status(), StartsWith(R"({"sharing":false,)"));
}

TEST_F(AppModelTest, ChoosingAnotherSourceWhileSharingGoesOverToIt) {
  screen.content.displays.push_back({8, {1280, 0, 640, 480}, false});
  launchAndWait();
  startSharing();
  model->select("display-8");
  refresh();
  EXPECT_TRUE(model->isSharing());
  EXPECT_EQ(model->statusLine(), "Sharing Display 2 640×480 · 0 viewers");
  EXPECT_THAT(status(), HasSubstr(R"("source":"Display 2 640×480")"));
  ASSERT_EQ(screen.streams.size(), 2U);
  EXPECT_TRUE(screen.streams.front()->stopped);
  model->select("display-8");
  refresh();
  EXPECT_EQ(screen.streams.size(), 2U);
  EXPECT_THAT(desktop.done, ElementsAre("awake"));
}

TEST_F(AppModelTest, TheComputerIsKeptAwakeWhileSharing) {
  launchAndWait();
  model->stopSharing();
  EXPECT_THAT(desktop.done, ElementsAre());
  startSharing();
  EXPECT_THAT(desktop.done, ElementsAre("awake"));
  model->stopSharing();
  EXPECT_THAT(desktop.done, ElementsAre("awake", "may sleep"));
}

// What viewers see after a share has ended

class EndedShareTest : public AppModelTest {
 protected:
  static constexpr DecodedJPEG::Pixel white{255, 255, 255};
  static constexpr DecodedJPEG::Pixel quiet{0x11, 0x11, 0x11};

  /// Starts a share of which one viewer has seen white pictures.
  void shareWhite() {
    launchAndWait();
    startSharing();
    watching.emplace(viewer());
    auto picture = std::make_shared<MemoryPixelBuffer>(320, 240);
    std::fill_n(picture->pixels(), 320 * 240 * 4, std::uint8_t{255});
    deliver(std::move(picture));
    ASSERT_EQ(DecodedJPEG::decode(bytesOf(watching->readPart())).at(5, 5), white);
  }

  void stopAndWait() {
    bool stopped = false;
    model->stopSharing([&stopped] { stopped = true; });
    ASSERT_TRUE(mainQueue.runUntil([&stopped] { return stopped; }));
  }

  /// Reads until there is a picture whose corner has the page's background.
  DecodedJPEG card() {
    for (;;) {
      auto picture = DecodedJPEG::decode(bytesOf(watching->readPart()));
      if (picture.at(5, 5) == quiet) return picture;
    }
  }

  std::optional<TestClient> watching;
};

TEST_F(EndedShareTest, ACardTakesThePlaceOfThePicture) {
  shareWhite();
  stopAndWait();
  const DecodedJPEG shown = card();
  EXPECT_EQ(shown.width * 240, shown.height * 320);
}

TEST_F(EndedShareTest, TheSameWhenTheCaptureEndedByItself) {
  shareWhite();
  onScreen([&] { screen.streams.back()->handlers.onStop(failure("the window was closed")); });
  ASSERT_TRUE(mainQueue.runUntil([&] { return model->captureError().has_value(); }));
  refresh();
  card();
}

TEST_F(EndedShareTest, TheSameWhenItEndedWhileThePresenterIsAskedForAnother) {
  screen.content.displays.push_back({8, {1280, 0, 640, 480}, false});
  shareWhite();
  onScreen([&] { screen.holdStarts = true; });
  model->select("display-8");
  onScreen([&] { screen.streams.front()->handlers.onStop(failure("the window was closed")); });
  ASSERT_TRUE(mainQueue.runUntil([&] { return model->captureError().has_value(); }));
  card();
}

TEST_F(EndedShareTest, TheSameWhenGoingOverToAnotherSourceFailed) {
  screen.content.displays.push_back({8, {1280, 0, 640, 480}, false});
  shareWhite();
  onScreen([&] { screen.startFailure = failure("the screen is locked"); });
  model->select("display-8");
  ASSERT_TRUE(mainQueue.runUntil([&] { return model->captureError().has_value(); }));
  refresh();
  EXPECT_FALSE(model->isSharing());
  card();
}

TEST_F(EndedShareTest, TheSameWhileAnotherSourceHasNoPictureToGive) {
  screen.content.displays.push_back({8, {1280, 0, 640, 480}, false});
  shareWhite();
  model->select("display-8");
  ASSERT_TRUE(mainQueue.runUntil([&] {
    bool wentOver = false;
    onScreen([&] { wentOver = screen.streams.size() == 2 && screen.streams.front()->stopped; });
    return wentOver;
  }));
  refresh();
  mainQueue.tick();
  card();
  EXPECT_TRUE(model->isSharing());
}

TEST_F(EndedShareTest, APictureThatIsSharedStays) {
  shareWhite();
  mainQueue.tick();
  TestClient after = viewer();
  EXPECT_EQ(DecodedJPEG::decode(bytesOf(after.readPart())).at(5, 5), white);
}

TEST_F(EndedShareTest, WhoJoinsThenIsShownNothing) {
  shareWhite();
  stopAndWait();
  TestClient after = viewer();
  ASSERT_TRUE(awaitViewers(2));
  after.shutdownSend();
  // either the retained frame, or without one only the opening of the next part
  EXPECT_EQ(after.read(15), "--tarvinelframe");
  startSharing();
  deliver(std::make_shared<MemoryPixelBuffer>(16, 16));
  card();
  const std::string firstFrame = watching->readPart();
  EXPECT_EQ(after.readUntil("\r\n\r\n"), "\r\nContent-Type: image/jpeg\r\nContent-Length: " +
                                             std::to_string(firstFrame.size()) + "\r\n\r\n");
  EXPECT_EQ(after.read(firstFrame.size()), firstFrame);
}

TEST_F(EndedShareTest, AShareBegunAtOnceIsNotFollowedByTheCardOfTheOneBefore) {
  shareWhite();
  onScreen([&] { screen.holdStarts = true; });
  bool stopped = false;
  model->stopSharing([&stopped] { stopped = true; });
  model->startSharing();
  ASSERT_TRUE(mainQueue.runUntil([&stopped] { return stopped; }));
  onScreen([&] { screen.streams.back()->pendingStart({}); });
  ASSERT_TRUE(mainQueue.runUntil([&] { return model->isSharing(); }));
  deliver(std::make_shared<MemoryPixelBuffer>(64, 64));
  DecodedJPEG::Pixel corner = white;
  while (corner == white)
    corner = DecodedJPEG::decode(bytesOf(watching->readPart())).at(5, 5);
  EXPECT_LE(corner[0], 2);  // black, but for JPEG's rounding; the card is 0x11
}

TEST_F(EndedShareTest, WithoutAPictureThereIsNoCard) {
  launchAndWait();
  startSharing();
  stopAndWait();
  mainQueue.tick();
  EXPECT_EQ(model->measuredMbps(), 0);
  TestClient after = viewer();
  after.shutdownSend();
  EXPECT_EQ(after.read(15), "--tarvinelframe");
}

// Once a second

TEST_F(AppModelTest, ATickThatChangesNothingNotifiesNobody) {
  launchAndWait();
  changes = 0;
  for (int i = 0; i < 9; ++i)
    mainQueue.tick();
  EXPECT_EQ(changes, 0);
}

TEST_F(AppModelTest, AChangedViewerCountNotifiesOnce) {
  launchAndWait();
  const TestClient one = viewer();
  changes = 0;
  ASSERT_TRUE(awaitViewers(1));
  EXPECT_EQ(changes, 1);
  mainQueue.tick();
  EXPECT_EQ(changes, 1);
}

TEST_F(AppModelTest, APinnedMotionRateStaysWhateverTheViewers) {
  config.motionFps = 12;
  launchAndWait();
  startSharing();
  EXPECT_EQ(model->motionFPS(), 12) << "from the start";
  EXPECT_EQ(model->streamLine(), "Wi-Fi · 12 fps · 0 viewers · 0 Mbps");
  EXPECT_THAT(status(), HasSubstr(R"("fps":12,)"));
  mainQueue.tick();
  EXPECT_EQ(model->motionFPS(), 12);
  const TestClient one = viewer();
  ASSERT_TRUE(awaitViewers(1));
  EXPECT_EQ(model->motionFPS(), 12);
  EXPECT_THAT(status(), HasSubstr(R"("fps":12,)"));
}

TEST_F(AppModelTest, WhileNotSharingTheMotionRateStays) {
  launchAndWait();
  mainQueue.tick();
  EXPECT_EQ(model->motionFPS(), 8);
}

TEST_F(AppModelTest, TwelveViewersOverWiFiGetTheRateThatThePolicyGivesForTheirFrames) {
  launchAndWait();
  startSharing();
  std::vector<TestClient> viewers;
  for (int i = 0; i < 12; ++i)
    viewers.push_back(viewer());
  while (model->viewerCount() != 12)
    mainQueue.tick();
  EXPECT_EQ(model->motionFPS(), 20);  // nothing measured yet
  deliver(noise());
  const auto frameBytes = static_cast<double>(viewers.front().readPart().size());
  const auto expected = static_cast<std::int64_t>(300e6 / (2 * 12 * frameBytes * 8));
  ASSERT_GT(expected, StreamPolicy::defaultFloor);
  ASSERT_LT(expected, StreamPolicy::defaultCeiling);
  mainQueue.tick();
  EXPECT_EQ(model->motionFPS(), expected);
  mainQueue.tick();
  const std::string line =
      "app|info|motion rate now " + std::to_string(expected) + " fps for 12 viewers on Wi-Fi";
  const auto lines = log.lines();
  EXPECT_EQ(std::ranges::count(lines, line), 1);
}

TEST_F(AppModelTest, TheStreamLineHasTheTrafficOfTheLastSecond) {
  config.motionFps = 8;
  launchAndWait();
  startSharing();
  TestClient one = viewer();
  TestClient other = viewer();
  ASSERT_TRUE(awaitViewers(2));
  deliver(noise());
  std::size_t bytes = 0;
  for (int part = 0; part < 2; ++part)  // in motion, and settled: no third follows
    bytes += one.readPart().size() + other.readPart().size();
  mainQueue.tick();
  const double megabits = static_cast<double>(bytes) * 8 / 1e6;
  ASSERT_GT(megabits, 2);
  EXPECT_DOUBLE_EQ(model->measuredMbps(), std::round(megabits * 10) / 10);
  EXPECT_EQ(model->streamLine(),
            fmt::format("Wi-Fi · 8 fps · 2 viewers · {:.0f} Mbps", model->measuredMbps()));
  mainQueue.tick();
  EXPECT_EQ(model->streamLine(), "Wi-Fi · 8 fps · 2 viewers · 0 Mbps");
}

TEST_F(AppModelTest, ACableIsNoticedWithALogLine) {
  launchAndWait();
  startSharing();
  EXPECT_FALSE(model->isWired());
  EXPECT_EQ(model->streamLine(), "Wi-Fi · 8 fps · 0 viewers · 0 Mbps");
  network.report({InterfaceType::wiredEthernet, InterfaceType::wifi});
  ASSERT_TRUE(mainQueue.runUntil([&] { return model->isWired(); }));
  EXPECT_EQ(model->streamLine(), "Ethernet · 8 fps · 0 viewers · 0 Mbps");
  network.report({InterfaceType::wifi, InterfaceType::wiredEthernet});
  ASSERT_TRUE(mainQueue.runUntil([&] { return !model->isWired(); }));
  EXPECT_EQ(model->streamLine(), "Wi-Fi · 8 fps · 0 viewers · 0 Mbps");
  EXPECT_THAT(log.lines(), IsSupersetOf({"app|info|network path is now Ethernet",
                                         "app|info|network path is now Wi-Fi"}));
}

TEST_F(AppModelTest, ALinkThatStaysAsItIsIsNotMentioned) {
  launchAndWait();
  changes = 0;
  network.report({InterfaceType::wifi});
  network.report({});
  refresh();
  EXPECT_EQ(changes, 0);
  EXPECT_THAT(log.lines(), Not(Contains(HasSubstr("network path"))));
}

TEST_F(AppModelTest, ACableHalvesWhatAFrameCosts) {
  config.budgetMbps = 100;
  launchAndWait();
  startSharing();
  TestClient one = viewer();
  ASSERT_TRUE(awaitViewers(1));
  deliver(noise());
  const auto frameBits = static_cast<double>(one.readPart().size()) * 8;
  const auto overWiFi = static_cast<std::int64_t>(100e6 / (2 * frameBits));
  const auto overCable = static_cast<std::int64_t>(100e6 / frameBits);
  ASSERT_GT(overWiFi, StreamPolicy::defaultFloor);
  mainQueue.tick();
  EXPECT_EQ(model->motionFPS(), std::min(overWiFi, StreamPolicy::defaultCeiling));
  network.report({InterfaceType::wiredEthernet});
  ASSERT_TRUE(mainQueue.runUntil([&] { return model->isWired(); }));
  mainQueue.tick();
  EXPECT_EQ(model->motionFPS(), std::min(overCable, StreamPolicy::defaultCeiling));
}

TEST_F(AppModelTest, ANewShareBeginsAtTheInitialRateAgain) {
  launchAndWait();
  startSharing();
  mainQueue.tick();
  EXPECT_EQ(model->motionFPS(), 20);
  model->stopSharing();
  startSharing();
  EXPECT_EQ(model->motionFPS(), 8);
}

// Uploads

TEST_F(AppModelTest, UploadsAreClosedAtLaunchAndTheirFolderIsMade) {
  launchAndWait();
  EXPECT_FALSE(model->uploadsEnabled());
  EXPECT_EQ(model->uploadFolder(), folder / "uploads");
  EXPECT_TRUE(std::filesystem::is_directory(folder / "uploads"));
  EXPECT_EQ(model->uploadURL(), *model->serverURL() + "upload");
  EXPECT_EQ(model->uploadStatus(), UploadStatus{});
  EXPECT_EQ(model->uploadStatusLine(), std::nullopt);
  EXPECT_THAT(uploaded("a.jpg"), StartsWith("HTTP/1.1 403 Forbidden\r\n"));
}

TEST_F(AppModelTest, UploadsCanBeOpenAtLaunchInAFolderForThisRun) {
  uploads = {folder / "uploads", folder / "this run", true};
  launchAndWait();
  EXPECT_THAT(uploaded("a.jpg"), StartsWith("HTTP/1.1 201 Created\r\n"));
  EXPECT_THAT(folder.files(), ElementsAre("this run/Sam-a.jpg"));
  mainQueue.tick();
  EXPECT_EQ(model->uploadStatusLine(), "Uploads: 1 file, 0 MB, 1 participant");
  EXPECT_EQ(model->uploadLastLine(), "Last: Sam (1 file)");
}

TEST_F(AppModelTest, UploadsAreOpenedAndClosedByCommand) {
  launchAndWait();
  openUploads();
  EXPECT_THAT(uploaded("a.jpg"), StartsWith("HTTP/1.1 201 Created\r\n"));
  EXPECT_THAT(log.lines(),
              Contains("app|info|uploads enabled into " + (folder / "uploads").string()));
  model->toggleUploads();
  EXPECT_THAT(uploaded("b.jpg"), StartsWith("HTTP/1.1 403 Forbidden\r\n"));
  EXPECT_THAT(log.lines(),
              Contains("app|info|uploads disabled into " + (folder / "uploads").string()));
}

TEST_F(AppModelTest, WhatHasArrivedStaysCountedWhenUploadsAreClosedAndOpened) {
  uploads.defaultFolder = folderOfToday;
  launchAndWait();
  openUploads();
  uploaded("a.jpg");
  for (int i = 0; i < 2; ++i) {
    thenOpensFolder([&] { model->toggleUploads(); });
    mainQueue.tick();
    EXPECT_EQ(model->uploadStatusLine(), "Uploads: 1 file, 0 MB, 1 participant");
    EXPECT_EQ(model->uploadLastLine(), "Last: Sam (1 file)");
  }
  EXPECT_TRUE(model->uploadStatus()->enabled);
}

TEST_F(AppModelTest, TheSameFolderChosenAgainGoesOnCounting) {
  uploads.defaultFolder = folderOfToday;
  launchAndWait();
  openUploads();
  uploaded("a.jpg");
  TestClient underWay(model->boundPort());
  underWay.send("PUT /upload/Alex/a.jpg HTTP/1.1\r\nContent-Length: 2000000\r\n\r\n" +
                std::string(1'000'000, 'x'));
  const auto partial = folderOfToday / ".Alex-a.jpg.partial";
  ASSERT_TRUE(eventually([&] { return std::filesystem::exists(partial); }));
  thenOpensFolder([&] { model->chooseUploadFolder(folderOfToday); });
  underWay.send(std::string(1'000'000, 'x'));
  EXPECT_THAT(underWay.readToEnd(), StartsWith("HTTP/1.1 201 Created\r\n"));
  mainQueue.tick();
  EXPECT_EQ(model->uploadStatusLine(), "Uploads: 2 files, 2 MB, 2 participants");
  EXPECT_EQ(model->uploadLastLine(), "Last: Alex (1 file)");
}

TEST_F(AppModelTest, AChosenFolderIsUsedAtOnceAndRemembered) {
  launchAndWait();
  openUploads();
  uploaded("a.jpg");
  mainQueue.tick();
  ASSERT_EQ(model->uploadStatus()->files, 1);
  model->chooseUploadFolder(folder / "chosen");
  ASSERT_TRUE(mainQueue.runUntil([&] { return model->uploadStatus()->files == 0; }));
  uploaded("b.jpg");
  EXPECT_THAT(folder.files(),
              ElementsAre("chosen/Sam-b.jpg", "preferences.json", "uploads/Sam-a.jpg"));
  EXPECT_THAT(log.lines(),
              Contains("app|info|upload folder set to " + (folder / "chosen").string()));
  launchAndWait();
  EXPECT_EQ(model->uploadFolder(), folder / "chosen");
  EXPECT_FALSE(model->uploadsEnabled());
}

TEST_F(AppModelTest, AFolderForEachParticipantIsRemembered) {
  launchAndWait();
  openUploads();
  folder.write("uploads/Alex/a.jpg", "counted once each has a folder");
  model->toggleUploadPerParticipant();
  ASSERT_TRUE(mainQueue.runUntil([&] { return model->uploadStatus()->participants == 1; }));
  EXPECT_THAT(uploaded("a.jpg"), HasSubstr(R"({"file":"a.jpg"})"));
  EXPECT_EQ(folder.read("uploads/Sam/a.jpg"), "photo");
  launchAndWait();
  EXPECT_TRUE(model->uploadPerParticipant());
  model->toggleUploadPerParticipant();
  launchAndWait();
  EXPECT_FALSE(model->uploadPerParticipant());
}

TEST_F(AppModelTest, AFolderThatCannotBeUsedIsReportedAndTheServerRuns) {
  folder.write("file", "");
  uploads = {folder / "uploads", folder / "file", true};
  launchAndWait();
  const std::string reason =
      "could not create or use upload root \"" + (folder / "file").string() + "\"";
  EXPECT_EQ(model->uploadError(), "Can't use upload folder: " + reason);
  EXPECT_THAT(log.lines(), Contains("app|error|upload store at " + (folder / "file").string() +
                                    " failed: " + reason));
  EXPECT_THAT(uploaded("a.jpg"), StartsWith("HTTP/1.1 404 Not Found\r\n"));
  model->chooseUploadFolder(folder / "chosen");
  ASSERT_TRUE(mainQueue.runUntil([&] { return !model->uploadError(); }));
  EXPECT_THAT(uploaded("a.jpg"), StartsWith("HTTP/1.1 201 Created\r\n"));
}

TEST_F(AppModelTest, WithAFolderThatCannotBeUsedNothingIsTakenIntoTheOneBefore) {
  folder.write("file", "");
  uploads.open = true;
  launchAndWait();
  model->chooseUploadFolder(folder / "file");
  ASSERT_TRUE(mainQueue.runUntil([&] { return model->uploadError().has_value(); }));
  EXPECT_THAT(uploaded("a.jpg"), StartsWith("HTTP/1.1 403 Forbidden\r\n"));
  EXPECT_TRUE(model->uploadsEnabled());
}

TEST_F(AppModelTest, AFolderThatIsGoneIsSaidAndUsedAgainOnceItIsBack) {
  uploads.open = true;
  launchAndWait();
  std::filesystem::rename(folder / "uploads", folder / "elsewhere");
  EXPECT_THAT(uploaded("a.jpg"), StartsWith("HTTP/1.1 507 Insufficient Storage\r\n"));
  EXPECT_THAT(uploaded("a.jpg"), StartsWith("HTTP/1.1 507 Insufficient Storage\r\n"));
  mainQueue.tick();
  mainQueue.tick();
  const std::string said = "Can't use upload folder: could not create or use upload root \"" +
                           (folder / "uploads").string() + "\"";
  EXPECT_EQ(model->uploadError(), said);
  EXPECT_THAT(desktop.done, Contains("notify Tarvinel: " + said).Times(1));
  std::filesystem::rename(folder / "elsewhere", folder / "uploads");
  EXPECT_THAT(uploaded("a.jpg"), StartsWith("HTTP/1.1 201 Created\r\n"));
  mainQueue.tick();
  EXPECT_EQ(model->uploadError(), std::nullopt);
}

TEST_F(AppModelTest, AFolderThatHangsDoesNotKeepTheServerFromStarting) {
  launch();  // the outcome waits on the main queue, which does not run yet
  for (int i = 0; i < 3; ++i)
    mainQueue.tick();
  ASSERT_TRUE(mainQueue.runUntil([&] { return model->serverURL().has_value(); }));
}

// The end

TEST_F(AppModelTest, GoesWhileSharingWithViewers) {
  launchAndWait();
  startSharing();
  TestClient watching = viewer();
  model.reset();
  EXPECT_EQ(watching.readToEnd(), "");
  mainQueue.tick();
}

TEST_F(AppModelTest, TellsOnceInALifeWhereItLives) {
  launchAndWait();
  EXPECT_THAT(desktop.done, Not(Contains(StartsWith("notify"))));
  model->appearedInTray();
  const std::string notification =
      "notify Tarvinel is in the panel: Click on its icon to share your screen.";
  EXPECT_THAT(desktop.done, Contains(notification).Times(1));
  model->appearedInTray();
  EXPECT_THAT(desktop.done, Contains(notification).Times(1));
  model.reset();
  launchAndWait();
  model->appearedInTray();
  EXPECT_THAT(desktop.done, Contains(notification).Times(1));
}

TEST_F(AppModelTest, InvitesOnlyOnceTheServerListens) {
  launch();
  model->appearedInTray();
  const std::string notification =
      "notify Tarvinel is in the panel: Click on its icon to share your screen.";
  EXPECT_THAT(desktop.done, Not(Contains(notification)));
  ASSERT_TRUE(mainQueue.runUntil([&] { return model->serverURL().has_value(); }));
  EXPECT_THAT(desktop.done, Contains(notification).Times(1));
}

// Without a server

/// A model whose port is taken by another program.
class WithoutServerTest : public AppModelTest {
 protected:
  void launch() override {
    config.port = taken->local_endpoint().port();
    AppModel::Dependencies withAdvice = platform(mainQueue);
    withAdvice.portAdvice = [this](std::uint16_t port, std::error_code refusal) {
      EXPECT_EQ(port, config.port);
      EXPECT_EQ(refusal, std::errc::address_in_use);
      return std::vector<std::string>{"It is taken.", "End that program."};
    };
    withAdvice.helpFile = folder / "cache/help.html";
    model = AppModel::create(config, withAdvice, uploads);
  }

  void launchInVain() {
    launch();
    model->appearedInTray();
    ASSERT_TRUE(mainQueue.runUntil([&] { return model->serverError().has_value(); }));
  }

  asio::io_context context;
  std::optional<asio::ip::tcp::acceptor> taken{std::in_place, context,
                                               asio::ip::tcp::endpoint(asio::ip::tcp::v4(), 0)};
};

TEST_F(WithoutServerTest, ThePresenterIsToldWhyAndWhatToDoAndNotInvited) {
  launchInVain();
  EXPECT_THAT(desktop.done,
              ElementsAre("notify Nobody can open Tarvinel: Can't listen on port " +
                          std::to_string(config.port) +
                          ": Address already in use.\nIt is taken.\nEnd that program."));
  taken.reset();
  desktop.done.clear();
  config.port = 0;
  ModelFixture::launch();
  model->appearedInTray();
  ASSERT_TRUE(mainQueue.runUntil([&] { return model->serverURL().has_value(); }));
  EXPECT_THAT(desktop.done, ElementsAre(StartsWith("notify Tarvinel is in the panel")))
      << "the invitation comes with the first start that works";
}

TEST_F(WithoutServerTest, HelpOpensFromAFile) {
  config.brand = BrandConfig{.name = "Studio", .image = "/logo.png", .font = "/font.woff2"};
  config.hostname = "studio";
  launchInVain();
  desktop.done.clear();
  model->openHelp();
  EXPECT_THAT(desktop.done, ElementsAre("open " + (folder / "cache/help.html").string()));
  const std::string page = folder.read("cache/help.html");
  EXPECT_EQ(page, HelpPage::html(BrandConfig{.name = "Studio"}, "studio"));
  EXPECT_THAT(page, Not(HasSubstr("/brand/"))) << "there is no server to have it from";
}

TEST_F(WithoutServerTest, AHelpFileThatCannotBeWrittenIsSaidAndNotOpened) {
  folder.write("cache", "a file in place of the folder");
  launchInVain();
  desktop.done.clear();
  model->openHelp();
  EXPECT_THAT(desktop.done, ElementsAre(StartsWith("notify Tarvinel Help: ")));
  EXPECT_THAT(log.lines(), Contains(StartsWith("app|error|help page at " +
                                               (folder / "cache/help.html").string())));
}

}  // namespace
}  // namespace tarvinel
