#include "app/startup/Configuration.h"
#include "tests/support/CapturedLog.h"
#include "tests/support/TemporaryFolder.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>

namespace tarvinel {
namespace {

using test::CapturedLog;
using test::TemporaryFolder;
using testing::ElementsAre;
using testing::IsEmpty;

/// Loads the files that the command line names.
class ConfigurationTest : public testing::Test {
 protected:
  ConfigurationTest() {
    options.config = file;
    options.profile = (folder / "Profile").native();
  }

  Configuration load(std::string_view text) {
    folder.write("config.json", text);
    return Configuration::load(options, log.log());
  }

  TemporaryFolder folder;
  const std::string file = (folder / "config.json").native();
  CommandLineOptions options;
  CapturedLog log;
};

TEST_F(ConfigurationTest, TheCommandLineNamesTheFiles) {
  folder.write("Profile/config.json", R"({"fps":7,"port":8081})");
  const Configuration configuration = load(R"({"port":8082})");
  EXPECT_EQ(configuration.config.fps, 7);
  EXPECT_EQ(configuration.config.port, 8082);
  EXPECT_EQ(configuration.problem, std::nullopt);
}

TEST_F(ConfigurationTest, ThePortOfTheCommandLineWins) {
  options.port = 8083;
  EXPECT_EQ(load(R"({"port":8082})").config.port, 8083);
  EXPECT_EQ(load("x").config.port, 8083);
}

TEST_F(ConfigurationTest, ACorrectedSettingIsLoggedAndTold) {
  const Configuration configuration = load(R"({"fps":7,"hostname":"my.room"})");
  EXPECT_EQ(configuration.config.fps, 7);
  EXPECT_EQ(configuration.problem,
            "config at " + file +
                ": hostname \"my.room\" must be 1-63 letters, digits, or hyphens (no dots); "
                "using \"tarvinel\"");
  EXPECT_THAT(log.lines(), ElementsAre("config|error|" + *configuration.problem));
}

TEST_F(ConfigurationTest, AFileThatCannotBeUsedIsLoggedAndTold) {
  const Configuration configuration = load("[]");
  EXPECT_EQ(configuration.config, TarvinelConfig());
  EXPECT_EQ(configuration.problem,
            "config at " + file + " ignored: config.json is valid JSON but not an object");
  EXPECT_THAT(log.lines(), ElementsAre("config|error|" + *configuration.problem));
}

TEST_F(ConfigurationTest, TheTextsOfAFileCannotBreakTheLine) {
  EXPECT_EQ(load(R"({"hostname":"a\u001b[2J\r\nb\u0000\u007f"})").problem,
            "config at " + file +
                ": hostname \"a?[2J??b??\" must be 1-63 letters, digits, or hyphens (no dots); "
                "using \"tarvinel\"");
}

TEST_F(ConfigurationTest, AFileThatWasAskedForAndDoesNotExistIsTold) {
  EXPECT_EQ(Configuration::load(options, log.log()).problem,
            "config at " + file + " does not exist");
  EXPECT_THAT(log.lines(), IsEmpty());
  const std::string profile = (folder / "Profile/config.json").native();
  EXPECT_EQ(load("{}").problem, "profile at " + profile + " does not exist");
  EXPECT_THAT(log.lines(), IsEmpty());
  options.profile.reset();
  EXPECT_EQ(load("{}").problem, std::nullopt);
}

}  // namespace
}  // namespace tarvinel
