#include "app/Console.h"
#include "core/support/HomeFolder.h"
#include "tests/app/capture/FakeCaptureService.h"
#include "tests/support/CapturedLog.h"
#include "tests/support/FakeNetwork.h"
#include "tests/support/ManualMainQueue.h"
#include "tests/support/TemporaryFolder.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <optional>
#include <sstream>

namespace tarvinel {
namespace {

using test::CapturedLog;
using test::FakeNetwork;
using test::ManualMainQueue;
using test::TemporaryFolder;
using testing::EndsWith;
using testing::HasSubstr;

/// A console over a model with a fake screen and a real server.
class ConsoleTest : public testing::Test {
 protected:
  void launch(std::uint16_t port = 0) {
    screen.content.displays = {{7, {0, 0, 1280, 720}, true}};
    TarvinelConfig config;
    config.port = port;
    model = AppModel::create(config,
                             {mainQueue, log.log(),
                              [this](SerialQueue& queue) {
                                screen.queue = &queue;
                                return std::make_unique<FakeCaptureService>(screen);
                              },
                              folder / "preferences.json", folder.path(), network.factory()},
                             uploads);
    console = std::make_shared<Console>(*model, out, [this](int status) {
      if (!quitWith) quitWith = status;
    });
    model->setOnChange([this] { console->refresh(); });
    console->refresh();
  }

  void launchAndWait() {
    launch();
    ASSERT_TRUE(
        mainQueue.runUntil([&] { return model->serverURL() && !model->sources().empty(); }));
    out.str("");
  }

  /// What is printed until `condition` holds.
  std::string printedUntil(const std::function<bool()>& condition) {
    EXPECT_TRUE(mainQueue.runUntil(condition));
    return std::exchange(out, std::ostringstream()).str();
  }

  std::string printedBy(std::string_view command) {
    console->obey(command);
    return std::exchange(out, std::ostringstream()).str();
  }

  bool hasPrinted(std::string_view text) { return out.str().find(text) != std::string::npos; }

  TemporaryFolder folder;
  AppModel::UploadLaunch uploads{folder / "uploads", {}, false};
  CapturedLog log;
  ManualMainQueue mainQueue;
  FakeScreen screen;
  FakeNetwork network;
  std::ostringstream out;
  std::optional<int> quitWith;
  std::shared_ptr<AppModel> model;
  std::shared_ptr<Console> console;
};

TEST_F(ConsoleTest, SaysThatTheServerStartsAndThenWhereToGo) {
  launch();
  EXPECT_EQ(out.str(), "Starting server…\nNot sharing\n");
  ASSERT_TRUE(mainQueue.runUntil([&] { return model->serverURL().has_value(); }));
  EXPECT_EQ(out.str(),
            "Starting server…\nNot sharing\nOpen " + *model->serverURL() + " in any browser\n");
}

TEST_F(ConsoleTest, AServerThatCannotListenEndsTheProgramWithStatus1) {
  launchAndWait();
  const std::uint16_t taken = model->boundPort();
  ManualMainQueue secondQueue;
  std::ostringstream secondOut;
  std::optional<int> status;
  TarvinelConfig config;
  config.port = taken;
  const auto second = AppModel::create(
      config,
      {secondQueue, log.log(),
       [this](SerialQueue&) { return std::make_unique<FakeCaptureService>(screen); },
       folder / "preferences.json"},
      uploads);
  const auto secondConsole = std::make_shared<Console>(*second, secondOut, [&](int given) {
    if (!status) status = given;
  });
  second->setOnChange([&] { secondConsole->refresh(); });
  ASSERT_TRUE(secondQueue.runUntil([&] { return status.has_value(); }));
  EXPECT_EQ(status, 1);
  EXPECT_THAT(secondOut.str(), HasSubstr("Can't listen on port " + std::to_string(taken) +
                                         ": Address already in use\n"));
}

TEST_F(ConsoleTest, ListsSources) {
  launchAndWait();
  console->obey("sources");
  EXPECT_EQ(printedUntil([&] { return !out.str().empty(); }),
            "display-7\tDisplay 1 (main) 1280×720\n");
}

TEST_F(ConsoleTest, SharesAndStops) {
  launchAndWait();
  console->obey("  share   display-7 \r");
  EXPECT_EQ(printedUntil([&] { return model->isSharing(); }),
            "Sharing Display 1 (main) 1280×720 · 0 viewers\n");
  EXPECT_EQ(printedBy("stop"), "Not sharing\n");
}

TEST_F(ConsoleTest, ASourceThatIsNotListedIsNamed) {
  launchAndWait();
  console->obey("share display-9");
  EXPECT_EQ(printedUntil([&] { return !out.str().empty(); }),
            "No source \"display-9\"; \"sources\" lists them\n");
}

TEST_F(ConsoleTest, SaysWhyACaptureEnded) {
  launchAndWait();
  console->obey("share display-7");
  ASSERT_TRUE(mainQueue.runUntil([&] { return model->isSharing(); }));
  out.str("");
  screen.queue->sync(
      [&] { screen.streams.back()->handlers.onStop(failure("the display was disconnected")); });
  EXPECT_EQ(printedUntil([&] { return !model->isSharing(); }),
            "Sharing stopped: the display was disconnected\nNot sharing\n");
}

TEST_F(ConsoleTest, StatusShowsEveryLine) {
  launchAndWait();
  EXPECT_EQ(printedBy("status"), "Open " + *model->serverURL() + " in any browser\nNot sharing\n");
  console->obey("share display-7");
  ASSERT_TRUE(mainQueue.runUntil([&] { return model->isSharing(); }));
  out.str("");
  EXPECT_EQ(printedBy("status"), "Open " + *model->serverURL() +
                                     " in any browser\n"
                                     "Sharing Display 1 (main) 1280×720 · 0 viewers\n"
                                     "Wi-Fi · 8 fps · 0 viewers · 0 Mbps\n");
}

TEST_F(ConsoleTest, OpensAndClosesUploads) {
  launchAndWait();
  const std::string open = "Uploads are open at " + *model->serverURL() + "upload, folder " +
                           model->uploadFolder().string() + "\n";
  console->obey("uploads on");
  EXPECT_EQ(printedUntil([&] { return hasPrinted("participants"); }),
            open + "Uploads: 0 files, 0 MB, 0 participants\n");
  EXPECT_EQ(printedBy("uploads on"), "");
  EXPECT_THAT(printedBy("status"), EndsWith(open + "Uploads: 0 files, 0 MB, 0 participants\n"));
  EXPECT_EQ(printedBy("uploads off"),
            "Uploads are closed, folder " + model->uploadFolder().string() + "\n");
  EXPECT_EQ(printedBy("uploads off"), "");
}

TEST_F(ConsoleTest, ChoosesTheFolder) {
  launchAndWait();
  const std::string chosen = (folder / "a b").string();
  EXPECT_EQ(printedBy("folder " + chosen), "Uploads are closed, folder " + chosen + "\n");
  EXPECT_EQ(printedBy("per-participant on"), "One folder per participant\n");
  EXPECT_EQ(printedBy("per-participant off"), "One folder for all\n");
  EXPECT_EQ(printedBy("folder ~"), "Uploads are closed, folder " + homeFolder().string() + "\n");
}

TEST_F(ConsoleTest, SaysWhyAFolderCannotBeUsed) {
  folder.write("file", "");
  launchAndWait();
  console->obey("uploads on");
  console->obey("folder " + (folder / "file").string());
  EXPECT_THAT(printedUntil([&] { return model->uploadError().has_value(); }),
              EndsWith("Can't use upload folder: could not create or use upload root \"" +
                       (folder / "file").string() + "\"\n"));
  EXPECT_THAT(printedBy("status"), HasSubstr("Can't use upload folder: "));
}

TEST_F(ConsoleTest, DrawsTheAddressAsAQRCodeWithTheAddressBelow) {
  launch();
  out.str("");
  EXPECT_EQ(printedBy("qr"), "Starting server…\n");
  ASSERT_TRUE(mainQueue.runUntil([&] { return model->serverURL().has_value(); }));
  out.str("");
  std::string expected;
  for (const std::string& line : drawQRCode(*model->serverURL(), QRColours::none))
    expected += line + "\n";
  EXPECT_EQ(printedBy("qr"), expected + "Open " + *model->serverURL() + " in any browser\n");
}

TEST_F(ConsoleTest, AnUnchangedLineIsNotPrintedAgain) {
  launchAndWait();
  console->refresh();
  mainQueue.tick();
  EXPECT_EQ(out.str(), "");
}

TEST_F(ConsoleTest, QuitEndsTheProgramWithStatus0) {
  launchAndWait();
  console->obey("quit");
  EXPECT_EQ(quitWith, 0);
}

TEST_F(ConsoleTest, OtherLinesAreAnsweredAndEmptyOnesAreNot) {
  launchAndWait();
  EXPECT_THAT(printedBy("help"), HasSubstr("share ID"));
  EXPECT_EQ(printedBy("dance"), "Unknown command \"dance\"; \"help\" lists the commands\n");
  EXPECT_EQ(printedBy("share"), "share needs an ID; \"sources\" lists them\n");
  EXPECT_EQ(printedBy("uploads"), "uploads needs on or off\n");
  EXPECT_EQ(printedBy("uploads perhaps"), "uploads needs on or off\n");
  EXPECT_EQ(printedBy("folder"), "folder needs a path\n");
  EXPECT_EQ(printedBy("per-participant"), "per-participant needs on or off\n");
  EXPECT_EQ(printedBy(""), "");
  EXPECT_EQ(printedBy(" \t"), "");
}

}  // namespace
}  // namespace tarvinel
