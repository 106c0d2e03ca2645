#include "app/terminal/Console.h"
#include "core/support/ApplicationSupport.h"
#include "tests/app/model/ModelFixture.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <filesystem>
#include <optional>
#include <sstream>

namespace tarvinel {
namespace {

using test::ManualMainQueue;
using testing::EndsWith;
using testing::HasSubstr;

class ConsoleTest : public ModelFixture {
 protected:
  void launch() override {
    ModelFixture::launch();
    console = std::make_shared<Console>(*model, out, [this](int status) {
      if (!quitWith) quitWith = status;
    });
    model->setOnChange([this] { console->refresh(); });
    console->refresh();
  }

  /// Launches the model, waits for the server, and discards what was printed meanwhile.
  void launchQuietly() {
    launchAndWait();
    out.str("");
  }

  /// Returns what is printed until `condition` holds.
  std::string printedUntil(const std::function<bool()>& condition) {
    EXPECT_TRUE(mainQueue.runUntil(condition));
    return std::exchange(out, std::ostringstream()).str();
  }

  std::string printedBy(std::string_view command) {
    console->execute(command);
    return std::exchange(out, std::ostringstream()).str();
  }

  bool hasPrinted(std::string_view text) { return out.str().find(text) != std::string::npos; }

  std::ostringstream out;
  std::optional<int> quitWith;
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
  launchQuietly();
  const std::uint16_t taken = model->boundPort();
  ManualMainQueue secondQueue;
  std::ostringstream secondOut;
  std::optional<int> status;
  config.port = taken;
  const auto second = AppModel::create(config, platform(secondQueue), uploads);
  const auto secondConsole = std::make_shared<Console>(*second, secondOut, [&](int given) {
    if (!status) status = given;
  });
  second->setOnChange([&] { secondConsole->refresh(); });
  ASSERT_TRUE(secondQueue.runUntil([&] { return status.has_value(); }));
  EXPECT_EQ(status, 1);
  EXPECT_THAT(secondOut.str(), HasSubstr("Can't listen on port " + std::to_string(taken) +
                                         ": Address already in use\n"));
}

TEST_F(ConsoleTest, AFolderBesideOneThatIsGoneIsRejected) {
  launchQuietly();
  const auto before = std::filesystem::current_path();
  std::filesystem::create_directory(folder / "gone");
  std::filesystem::current_path(folder / "gone");
  std::filesystem::remove(folder / "gone");
  const auto uploadFolder = model->uploadFolder();
  EXPECT_EQ(printedBy("folder photos"),
            "The folder that Tarvinel was started in is gone: folder needs a path from /\n");
  std::filesystem::current_path(before);
  EXPECT_EQ(model->uploadFolder(), uploadFolder);
}

TEST_F(ConsoleTest, ListsSources) {
  launchQuietly();
  console->execute("sources");
  EXPECT_EQ(printedUntil([&] { return !out.str().empty(); }),
            "display-7\tDisplay 1 (main) 1280×720\n");
}

TEST_F(ConsoleTest, SharesAndStops) {
  launchQuietly();
  console->execute("  share   display-7 \r");
  EXPECT_EQ(printedUntil([&] { return model->isSharing(); }),
            "Sharing Display 1 (main) 1280×720 · 0 viewers\n");
  EXPECT_EQ(printedBy("stop"), "Not sharing\n");
}

TEST_F(ConsoleTest, ASourceThatIsNotListedIsNamed) {
  launchQuietly();
  console->execute("share display-9");
  EXPECT_EQ(printedUntil([&] { return !out.str().empty(); }),
            "No source \"display-9\"; \"sources\" lists them\n");
}

TEST_F(ConsoleTest, SaysWhyACaptureEnded) {
  launchQuietly();
  console->execute("share display-7");
  ASSERT_TRUE(mainQueue.runUntil([&] { return model->isSharing(); }));
  out.str("");
  screen.queue->sync(
      [&] { screen.streams.back()->handlers.onStop(failure("the display was disconnected")); });
  EXPECT_EQ(printedUntil([&] { return !model->isSharing(); }),
            "Sharing stopped: the display was disconnected\nNot sharing\n");
}

TEST_F(ConsoleTest, StatusShowsEveryLine) {
  launchQuietly();
  EXPECT_EQ(printedBy("status"), "Open " + *model->serverURL() + " in any browser\nNot sharing\n");
  console->execute("share display-7");
  ASSERT_TRUE(mainQueue.runUntil([&] { return model->isSharing(); }));
  out.str("");
  EXPECT_EQ(printedBy("status"), "Open " + *model->serverURL() +
                                     " in any browser\n"
                                     "Sharing Display 1 (main) 1280×720 · 0 viewers\n"
                                     "Wi-Fi · 8 fps · 0 viewers · 0 Mbps\n");
}

TEST_F(ConsoleTest, OpensAndClosesUploads) {
  launchQuietly();
  const std::string open = "Uploads are open at " + *model->serverURL() + "upload, folder " +
                           model->uploadFolder().string() + "\n";
  console->execute("uploads on");
  EXPECT_EQ(printedUntil([&] { return hasPrinted("participants"); }),
            open + "Uploads: 0 files, 0 MB, 0 participants\n");
  EXPECT_EQ(printedBy("uploads on"), "");
  EXPECT_THAT(printedBy("status"), EndsWith(open + "Uploads: 0 files, 0 MB, 0 participants\n"));
  EXPECT_EQ(printedBy("uploads off"),
            "Uploads are closed, folder " + model->uploadFolder().string() + "\n");
  EXPECT_EQ(printedBy("uploads off"), "");
}

TEST_F(ConsoleTest, ChoosesTheFolder) {
  launchQuietly();
  const std::string chosen = (folder / "a b").string();
  EXPECT_EQ(printedBy("folder " + chosen), "Uploads are closed, folder " + chosen + "\n");
  EXPECT_EQ(printedBy("per-participant on"), "One folder per participant\n");
  EXPECT_EQ(printedBy("per-participant off"), "One folder for all\n");
  EXPECT_EQ(printedBy("folder ~"), "Uploads are closed, folder " + homeFolder().string() + "\n");
}

TEST_F(ConsoleTest, SaysWhyAFolderCannotBeUsed) {
  folder.write("file", "");
  launchQuietly();
  console->execute("uploads on");
  console->execute("folder " + (folder / "file").string());
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
  launchQuietly();
  console->refresh();
  mainQueue.tick();
  EXPECT_EQ(out.str(), "");
}

TEST_F(ConsoleTest, QuitEndsTheProgramWithStatus0) {
  launchQuietly();
  console->execute("quit");
  EXPECT_EQ(quitWith, 0);
}

TEST_F(ConsoleTest, OtherLinesAreAnsweredAndEmptyOnesAreNot) {
  launchQuietly();
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

TEST_F(ConsoleTest, IntroducesItselfOnceItIsKnownWhereViewersGo) {
  launch();
  console->introduce("Type on");
  EXPECT_FALSE(hasPrinted("Type on"));
  ASSERT_TRUE(mainQueue.runUntil([&] { return model->serverURL().has_value(); }));
  EXPECT_THAT(out.str(), EndsWith("Open " + *model->serverURL() + " in any browser\nType on\n"));
  out.str("");
  console->refresh();
  EXPECT_EQ(out.str(), "");
}

TEST_F(ConsoleTest, IntroducesItselfAtOnceWhenItIsKnownAlready) {
  launchQuietly();
  console->introduce("Type on");
  EXPECT_EQ(out.str(), "Type on\n");
}

TEST_F(ConsoleTest, WhereAFailureIsNotTheEndItIntroducesItselfAfterIt) {
  launchQuietly();
  config.port = model->boundPort();
  ManualMainQueue secondQueue;
  std::ostringstream secondOut;
  const auto second = AppModel::create(config, platform(secondQueue), uploads);
  const auto secondConsole = std::make_shared<Console>(*second, secondOut, nullptr);
  secondConsole->introduce("Look there");
  second->setOnChange([&] { secondConsole->refresh(); });
  ASSERT_TRUE(secondQueue.runUntil([&] { return second->serverError().has_value(); }));
  EXPECT_EQ(secondOut.str(), "Starting server…\nNot sharing\nCan't listen on port " +
                                 std::to_string(config.port) +
                                 ": Address already in use\nLook there\n");
}

}  // namespace
}  // namespace tarvinel
