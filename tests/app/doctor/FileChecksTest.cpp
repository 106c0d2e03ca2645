#include "app/doctor/FileChecks.h"
#include "core/support/ApplicationSupport.h"
#include "tests/support/HomeVariable.h"
#include "tests/support/TemporaryFolder.h"

#include <gtest/gtest.h>

namespace tarvinel {
namespace {

using enum Finding::State;

class ConfigurationCheckTest : public testing::Test {
 protected:
  ConfigurationCheckTest() {
    options.config = file();
    options.profile = folder.path();
  }

  Findings findings(const std::string& content) {
    folder.write("config.json", content);
    return judge(ConfigurationProbe::of(options));
  }

  std::string file() const { return (folder / "config.json").string(); }

  test::TemporaryFolder folder;
  CommandLineOptions options;
};

TEST_F(ConfigurationCheckTest, AFileThatIsInForce) {
  EXPECT_EQ(findings(R"({"port": 8080, "fps": 60, "scale": 1.5, "brand": {"color": "#112233"}})"),
            (Findings{{fine, file() + " is in force.", {}}}));
}

TEST_F(ConfigurationCheckTest, NoFileIsFine) {
  EXPECT_EQ(judge(ConfigurationProbe{.file = "/a/config.json"}),
            (Findings{{fine, "There is no /a/config.json: everything is at its default.", {}}}));
}

TEST_F(ConfigurationCheckTest, WithoutAFileThePlaceToWriteItToIsNamed) {
  const test::HomeVariable home(folder.path());
  const auto configFolder = SupportEnvironment::current().configFolder();
  options.config.reset();
  EXPECT_EQ(ConfigurationProbe::of(options).file, configFolder / "Tarvinel/config.json");
}

TEST_F(ConfigurationCheckTest, AFileThatWasAskedForMustExist) {
  EXPECT_EQ(judge(ConfigurationProbe::of(options)),
            (Findings{{needsAttention,
                       "config at " + file() + " does not exist",
                       {"Correct the file, then start Tarvinel again."}}}));
}

TEST_F(ConfigurationCheckTest, AFileThatCannotBeUsed) {
  const auto found = findings("[]");
  ASSERT_EQ(found.size(), 1U);
  EXPECT_EQ(found[0].state, needsAttention);
  EXPECT_EQ(found[0].what,
            "config at " + file() + " ignored: config.json is valid JSON but not an object");
}

TEST_F(ConfigurationCheckTest, ASettingThatWasCorrected) {
  const auto found = findings(R"({"hostname": "my.room"})");
  ASSERT_EQ(found.size(), 1U);
  EXPECT_EQ(found[0].state, needsAttention);
  EXPECT_EQ(found[0].what, "config at " + file() +
                               R"(: hostname "my.room" must be 1-63 letters, digits, or hyphens )"
                               R"((no dots); using "tarvinel")");
}

TEST_F(ConfigurationCheckTest, SettingsThatDoNotExist) {
  const auto found = findings(R"({"Port": 80, "hostName": "a", "brand": {"colour": "#112233"}})");
  ASSERT_EQ(found.size(), 2U);
  EXPECT_EQ(found[1], (Finding{worthKnowing,
                               "No such setting: Port, brand.colour, hostName.",
                               {"Look at its spelling; capital letters count."}}));
}

TEST_F(ConfigurationCheckTest, NumbersOutOfRange) {
  const auto found = findings(R"({"fps": 500, "scale": 0.5, "budgetMbps": 10})");
  EXPECT_EQ(found, (Findings{{fine, file() + " is in force.", {}},
                             {worthKnowing, "Out of range: fps is 60 instead of 500.", {}},
                             {worthKnowing, "Out of range: scale is 1.0 instead of 0.5.", {}}}));
}

TEST_F(ConfigurationCheckTest, ThePortOfTheCommandLineIsNoCorrection) {
  options.port = 9000;
  EXPECT_EQ(findings(R"({"port": 8080})"), (Findings{{fine, file() + " is in force.", {}}}));
}

TEST_F(ConfigurationCheckTest, FilesOfTheBrandThatCannotBeUsed) {
  const auto found = findings(R"({"brand": {"image": "/nowhere/logo.png"}})");
  ASSERT_EQ(found.size(), 2U);
  EXPECT_EQ(found[1],
            (Finding{needsAttention,
                     "It cannot be used: brand.image, /nowhere/logo.png.",
                     {"It is missing, unreadable, larger than 10 MB or of an unknown type."}}));
}

}  // namespace
}  // namespace tarvinel
