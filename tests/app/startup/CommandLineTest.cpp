#include "app/startup/CommandLine.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <initializer_list>
#include <string>
#include <variant>
#include <vector>

namespace tarvinel {
namespace {

using testing::HasSubstr;
using testing::Not;

std::variant<CommandLineOptions, CommandLineExit> parsed(std::initializer_list<const char*> words) {
  std::vector<const char*> arguments{"tarvinel"};
  arguments.insert(arguments.end(), words);
  return parseCommandLine(static_cast<int>(arguments.size()), arguments.data());
}

CommandLineOptions optionsOf(std::initializer_list<const char*> words) {
  return std::get<CommandLineOptions>(parsed(words));
}

CommandLineExit exitOf(std::initializer_list<const char*> words) {
  return std::get<CommandLineExit>(parsed(words));
}

TEST(CommandLine, HeadlessAloneTakesEveryDefault) {
  const CommandLineOptions options = optionsOf({"--headless"});
  EXPECT_EQ(options.capture, CaptureBackend::automatic);
  EXPECT_EQ(options.share, std::nullopt);
  EXPECT_EQ(options.port, std::nullopt);
  EXPECT_EQ(options.config, std::nullopt);
  EXPECT_EQ(options.profile, std::nullopt);
  EXPECT_FALSE(options.listSources);
  EXPECT_FALSE(options.verbose);
}

TEST(CommandLine, ReadsEveryOption) {
  const CommandLineOptions options = optionsOf(
      {"--headless", "--capture", "x11", "--share", "display-5", "--port=8080", "--verbose"});
  EXPECT_EQ(options.capture, CaptureBackend::x11);
  EXPECT_EQ(options.share, "display-5");
  EXPECT_EQ(options.port, 8080);
  EXPECT_TRUE(options.verbose);
  EXPECT_THAT(options.given, testing::UnorderedElementsAre("--headless", "--capture", "--share",
                                                           "--port", "--verbose"));
  EXPECT_EQ(optionsOf({"--headless", "--config", "a b.json"}).config, "a b.json");
  EXPECT_EQ(optionsOf({"--headless", "--profile=/a"}).profile, "/a");
  EXPECT_EQ(optionsOf({"--headless", "--capture", "pattern"}).capture, CaptureBackend::pattern);
  EXPECT_EQ(optionsOf({"--headless", "--capture", "auto"}).capture, CaptureBackend::automatic);
  EXPECT_EQ(optionsOf({"--headless", "--port", "0"}).port, 0);
  EXPECT_EQ(optionsOf({"--headless", "--port", "65535"}).port, 65535);
}

TEST(CommandLine, WhereSysfsIsMountedIsForTestsAndNotInTheHelp) {
  EXPECT_EQ(optionsOf({"--headless"}).sysfs, "/sys");
  EXPECT_EQ(optionsOf({"--headless", "--sysfs", "/a"}).sysfs, "/a");
  EXPECT_THAT(exitOf({"--help"}).text, Not(HasSubstr("sysfs")));
}

TEST(CommandLine, StartsAtLoginOrNoLongerOnlyWhenAsked) {
  EXPECT_EQ(optionsOf({"--headless"}).autostart, std::nullopt);
  EXPECT_EQ(optionsOf({"--autostart", "on"}).autostart, true);
  EXPECT_EQ(optionsOf({"--autostart", "off"}).autostart, false);
  EXPECT_EQ(exitOf({"--autostart", "maybe"}).status, 2);
  EXPECT_EQ(exitOf({"--autostart"}).status, 2);
}

TEST(CommandLine, UploadsAreClosedUnlessAskedFor) {
  EXPECT_FALSE(optionsOf({"--headless"}).uploads);
  EXPECT_EQ(optionsOf({"--headless"}).uploadFolder, std::nullopt);
  const CommandLineOptions options =
      optionsOf({"--headless", "--uploads", "--upload-folder", "some where"});
  EXPECT_TRUE(options.uploads);
  EXPECT_EQ(options.uploadFolder, "some where");
  EXPECT_EQ(exitOf({"--headless", "--upload-folder"}).status, 2);
}

TEST(CommandLine, RunsOnADesktopUnlessItIsToBeHeadless) {
  EXPECT_FALSE(optionsOf({}).headless);
  EXPECT_TRUE(optionsOf({"--headless"}).headless);
  EXPECT_EQ(optionsOf({"--share", "display-5"}).share, "display-5");
}

TEST(CommandLine, ListingNeedsNoHeadless) {
  EXPECT_TRUE(optionsOf({"--list-sources"}).listSources);
}

TEST(CommandLine, AWrongCommandLineEndsWithStatus2AndSaysWhy) {
  EXPECT_EQ(exitOf({"--headless", "--nonsense"}).status, 2);
  EXPECT_THAT(exitOf({"--headless", "--nonsense"}).text, HasSubstr("--nonsense"));
  EXPECT_EQ(exitOf({"--headless", "--port", "65536"}).status, 2);
  EXPECT_EQ(exitOf({"--headless", "--port", "-1"}).status, 2);
  EXPECT_EQ(exitOf({"--headless", "--port", "80x"}).status, 2);
  EXPECT_EQ(exitOf({"--headless", "--port"}).status, 2);
  EXPECT_EQ(exitOf({"--headless", "--capture", "mirror"}).status, 2);
  EXPECT_EQ(exitOf({"--headless", "extra"}).status, 2);
}

TEST(CommandLine, AMistakeIsToldInASentenceThatNamesIt) {
  const auto text = [](std::initializer_list<const char*> words) { return exitOf(words).text; };
  constexpr const char* end = "; --help lists the options\n";
  EXPECT_EQ(text({"-p", "80"}), std::string("tarvinel: it does not understand \"-p\"") + end);
  EXPECT_EQ(text({"--port"}), std::string("tarvinel: --port needs N behind it") + end);
  EXPECT_EQ(text({"--port", "1", "--port", "2"}),
            std::string("tarvinel: --port can be given only once") + end);
  EXPECT_EQ(text({"--port", "80x"}),
            std::string("tarvinel: --port: \"80x\" is not a number from 0 to 65535") + end);
  EXPECT_EQ(
      text({"--capture", "video"}),
      std::string("tarvinel: --capture: \"video\" is none of auto, x11, portal, pattern") + end);
  EXPECT_EQ(text({"--uploads=no"}),
            std::string("tarvinel: --uploads takes nothing behind it") + end);
  EXPECT_EQ(text({"--config", ""}), std::string("tarvinel: --config: it is empty") + end);
  EXPECT_EQ(text({"--a\x1b[2J"}),
            std::string("tarvinel: it does not understand \"--a?[2J\"") + end);
  EXPECT_EQ(text({"--autostart", "on", "--share", "display-1"}),
            std::string("tarvinel: --autostart takes no other option beside it") + end);
}

TEST(CommandLine, TheHelpNamesTheRoadsOfTheCapture) {
  EXPECT_THAT(exitOf({"--help"}).text, HasSubstr("auto, x11, portal or pattern"));
}

TEST(CommandLine, HelpAndVersionEndWithStatus0) {
  EXPECT_EQ(exitOf({"--help"}).status, 0);
  EXPECT_THAT(exitOf({"--help"}).text, HasSubstr("--list-sources"));
  EXPECT_EQ(exitOf({"--version"}).status, 0);
  EXPECT_THAT(exitOf({"--version"}).text, testing::StartsWith("tarvinel "));
}

}  // namespace
}  // namespace tarvinel
