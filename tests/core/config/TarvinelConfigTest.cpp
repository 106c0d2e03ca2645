#include "core/config/TarvinelConfig.h"
#include "core/support/Result.h"
#include "tests/support/CapturedLog.h"
#include "tests/support/HomeVariable.h"
#include "tests/support/OrdinaryUser.h"
#include "tests/support/TemporaryFolder.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <sys/stat.h>

#include <filesystem>
#include <string>
#include <string_view>

namespace tarvinel {
namespace {

using test::CapturedLog;
using test::HomeVariable;
using test::OrdinaryUser;
using test::TemporaryFolder;
using testing::ElementsAre;
using testing::EndsWith;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::StartsWith;

std::string repeated(std::string_view text, std::size_t count) {
  std::string all;
  all.reserve(text.size() * count);
  for (std::size_t i = 0; i < count; ++i)
    all += text;
  return all;
}

/// Loads a user's file over a built-in profile, either of which may be absent.
class TarvinelConfigTest : public testing::Test {
 protected:
  void user(std::string_view text) { folder.write("config.json", text); }
  void profile(std::string_view text) { folder.write("Profile/config.json", text); }

  TarvinelConfig load() {
    const auto loaded = TarvinelConfig::load(userFile, folder / "Profile", log.category("config"));
    error = loaded.error ? describe(loaded.error) : "";
    return loaded.config;
  }

  TarvinelConfig load(std::string_view text) {
    user(text);
    return load();
  }

  /// Returns the error for a user's file, which must leave every default.
  std::string errorOf(std::string_view text) {
    EXPECT_EQ(load(text), TarvinelConfig());
    return error;
  }

  TemporaryFolder folder;
  const std::filesystem::path userFile = folder / "config.json";
  const std::string profileFile = (folder / "Profile/config.json").native();
  CapturedLog log;
  std::string error;  ///< of the last load, empty without
};

// Defaults and values

TEST_F(TarvinelConfigTest, TheDefaults) {
  const TarvinelConfig config;
  EXPECT_EQ(config.port, 80);
  EXPECT_EQ(config.fps, 20);
  EXPECT_EQ(config.jpegQuality, 0.92);
  EXPECT_EQ(config.scale, 2.0);
  EXPECT_EQ(config.motionQuality, 0.7);
  EXPECT_EQ(config.budgetMbps, 300.0);
  EXPECT_EQ(config.motionFps, std::nullopt);
  EXPECT_EQ(config.hostname, "tarvinel");
  EXPECT_EQ(config.brand, std::nullopt);
}

TEST_F(TarvinelConfigTest, NoFileAtAllGivesTheDefaultsAndNoError) {
  EXPECT_EQ(load(), TarvinelConfig());
  EXPECT_EQ(error, "");
  EXPECT_THAT(log.lines(), IsEmpty());
}

TEST_F(TarvinelConfigTest, WithoutAProfileFolderOnlyTheUsersFileCounts) {
  user(R"({"fps":7})");
  const auto loaded = TarvinelConfig::load(userFile, std::nullopt, log.category("config"));
  EXPECT_EQ(loaded.config.fps, 7);
  EXPECT_FALSE(loaded.error);
}

TEST_F(TarvinelConfigTest, AnEmptyObjectGivesTheDefaultsAndNoError) {
  EXPECT_EQ(load("{}"), TarvinelConfig());
  EXPECT_EQ(error, "");
}

TEST_F(TarvinelConfigTest, ReadsEveryKey) {
  const TarvinelConfig config = load(R"({"port":8080,"fps":30,"jpegQuality":0.5,"scale":1.5,
    "motionQuality":0.25,"budgetMbps":150.5,"motionFps":12,"hostname":"studio",
    "brand":{"name":"N","waiting":"W","disconnected":"D","image":"/i.png","font":"/f.woff2",
    "color":"#E2791B"}})");
  EXPECT_EQ(error, "");
  EXPECT_EQ(config.port, 8080);
  EXPECT_EQ(config.fps, 30);
  EXPECT_EQ(config.jpegQuality, 0.5);
  EXPECT_EQ(config.scale, 1.5);
  EXPECT_EQ(config.motionQuality, 0.25);
  EXPECT_EQ(config.budgetMbps, 150.5);
  EXPECT_EQ(config.motionFps, 12);
  EXPECT_EQ(config.hostname, "studio");
  EXPECT_EQ(config.brand, (BrandConfig{"N", "W", "D", "/i.png", "/f.woff2", "#E2791B"}));
}

TEST_F(TarvinelConfigTest, NullIsLikeAnAbsentKey) {
  EXPECT_EQ(load(R"({"port":null,"fps":null,"jpegQuality":null,"scale":null,"motionQuality":null,
    "budgetMbps":null,"motionFps":null,"hostname":null,"brand":null})"),
            TarvinelConfig());
  EXPECT_EQ(error, "");
  EXPECT_EQ(load(R"({"brand":{"name":null,"color":null}})").brand, BrandConfig());
  EXPECT_EQ(error, "");
}

TEST_F(TarvinelConfigTest, UnknownKeysArePassedOver) {
  EXPECT_EQ(load(R"({"//port":"a comment","fps":7,"brand":{"size":[1,2]},"x":{"y":{"z":1}}})").fps,
            7);
  EXPECT_EQ(error, "");
}

TEST_F(TarvinelConfigTest, NumbersOutOfRangeAreClampedSilently) {
  EXPECT_EQ(load(R"({"fps":0})").fps, 1);
  EXPECT_EQ(load(R"({"fps":-9223372036854775808})").fps, 1);
  EXPECT_EQ(load(R"({"fps":500})").fps, 60);
  EXPECT_EQ(load(R"({"motionFps":0})").motionFps, 1);
  EXPECT_EQ(load(R"({"motionFps":61})").motionFps, 60);
  EXPECT_EQ(load(R"({"jpegQuality":0})").jpegQuality, 0.1);
  EXPECT_EQ(load(R"({"jpegQuality":2})").jpegQuality, 1.0);
  EXPECT_EQ(load(R"({"motionQuality":-1})").motionQuality, 0.1);
  EXPECT_EQ(load(R"({"motionQuality":1.1})").motionQuality, 1.0);
  EXPECT_EQ(load(R"({"scale":3})").scale, 2.0);
  EXPECT_EQ(load(R"({"scale":0.5})").scale, 1.0);
  EXPECT_EQ(load(R"({"budgetMbps":5})").budgetMbps, 10.0);
  EXPECT_EQ(load(R"({"budgetMbps":50000})").budgetMbps, 10000.0);
  EXPECT_EQ(load(R"({"budgetMbps":1e300})").budgetMbps, 10000.0);
  EXPECT_EQ(load(R"({"budgetMbps":18446744073709551616})").budgetMbps, 10000.0);
  EXPECT_EQ(error, "");
}

TEST_F(TarvinelConfigTest, ClampingLeavesPortHostNameAndBrandAlone) {
  TarvinelConfig config;
  config.port = 0;
  config.hostname = "not valid!";
  config.brand = BrandConfig{.color = "red"};
  EXPECT_EQ(config.clamped(), config);
  EXPECT_EQ(config.clamped().motionFps, std::nullopt);
}

TEST_F(TarvinelConfigTest, PortsAreUsedAsTheyAre) {
  EXPECT_EQ(load(R"({"port":8080})").port, 8080);
  EXPECT_EQ(load(R"({"port":0})").port, 0);
  EXPECT_EQ(load(R"({"port":65535})").port, 65535);
  EXPECT_EQ(error, "");
}

TEST_F(TarvinelConfigTest, AWholeNumberMayBeWrittenAsAFraction) {
  EXPECT_EQ(load(R"({"fps":20.0,"port":8.08e3,"motionFps":1.2E1})").fps, 20);
  EXPECT_EQ(load().port, 8080);
  EXPECT_EQ(load().motionFps, 12);
  EXPECT_EQ(error, "");
}

// Wrong types: all defaults

TEST_F(TarvinelConfigTest, AValueThatDoesNotFitItsTypeGivesAllDefaults) {
  EXPECT_EQ(errorOf(R"({"fps":30,"port":65536})"),
            "\"port\" must be a whole number from 0 to 65535");
  EXPECT_EQ(errorOf(R"({"port":-1})"), "\"port\" must be a whole number from 0 to 65535");
  EXPECT_EQ(errorOf(R"({"port":"80"})"), "\"port\" must be a whole number from 0 to 65535");
  EXPECT_EQ(errorOf(R"({"fps":20.5})"), "\"fps\" must be a whole number");
  EXPECT_EQ(errorOf(R"({"fps":true})"), "\"fps\" must be a whole number");
  EXPECT_EQ(errorOf(R"({"fps":9223372036854775808})"), "\"fps\" must be a whole number");
  EXPECT_EQ(errorOf(R"({"motionFps":1e19})"), "\"motionFps\" must be a whole number");
  EXPECT_EQ(errorOf(R"({"motionFps":-1e19})"), "\"motionFps\" must be a whole number");
  EXPECT_EQ(errorOf(R"({"scale":"2"})"), "\"scale\" must be a number");
  EXPECT_EQ(errorOf(R"({"jpegQuality":false})"), "\"jpegQuality\" must be a number");
  EXPECT_EQ(errorOf(R"({"motionQuality":[]})"), "\"motionQuality\" must be a number");
  EXPECT_EQ(errorOf(R"({"budgetMbps":{}})"), "\"budgetMbps\" must be a number");
  EXPECT_EQ(errorOf(R"({"hostname":7})"), "\"hostname\" must be a text in double quotes");
  EXPECT_EQ(errorOf(R"({"brand":"x"})"), "\"brand\" must be an object in braces");
  EXPECT_EQ(errorOf(R"({"brand":[]})"), "\"brand\" must be an object in braces");
  EXPECT_EQ(errorOf(R"({"brand":{"name":1}})"), "\"brand.name\" must be a text in double quotes");
  EXPECT_EQ(errorOf(R"({"brand":{"color":{}}})"),
            "\"brand.color\" must be a text in double quotes");
}

TEST_F(TarvinelConfigTest, SettingsThatCannotBeDecodedAreLogged) {
  load(R"({"fps":"many"})");
  EXPECT_THAT(log.lines(), ElementsAre("config|error|merged config could not be decoded: "
                                       "\"fps\" must be a whole number"));
}

TEST_F(TarvinelConfigTest, AWrongTypeAnywhereDropsTheProfileToo) {
  profile(R"({"port":8081})");
  EXPECT_EQ(load(R"({"fps":"many"})"), TarvinelConfig());
  EXPECT_EQ(error, "\"fps\" must be a whole number");
}

// Host name

TEST_F(TarvinelConfigTest, AHostNameIsLowerCased) {
  EXPECT_EQ(load(R"({"hostname":"Studio-A"})").hostname, "studio-a");
  EXPECT_EQ(error, "");
}

TEST_F(TarvinelConfigTest, AnInvalidHostNameIsReplacedAndReportedAsGiven) {
  for (const std::string name : {"studio.local", "My.Room", "-a", "a-", "a b", "my_mac", "büro"}) {
    EXPECT_EQ(load(R"({"hostname":")" + name + "\"}").hostname, "tarvinel");
    EXPECT_EQ(error, "hostname \"" + name +
                         "\" must be 1-63 letters, digits, or hyphens (no dots); using "
                         "\"tarvinel\"");
  }
  EXPECT_THAT(log.lines(), IsEmpty());
}

TEST_F(TarvinelConfigTest, AHostNameHas63CharactersAtTheMost) {
  EXPECT_EQ(load(R"({"hostname":")" + std::string(63, 'a') + "\"}").hostname, std::string(63, 'a'));
  EXPECT_EQ(error, "");
  EXPECT_EQ(load(R"({"hostname":")" + std::string(64, 'a') + "\"}").hostname, "tarvinel");
  EXPECT_THAT(error, StartsWith("hostname \"aaa"));
}

TEST_F(TarvinelConfigTest, AnEmptyHostNameStaysEmptyWithoutAnError) {
  EXPECT_EQ(load(R"({"hostname":""})").hostname, "");
  EXPECT_EQ(error, "");
}

TEST_F(TarvinelConfigTest, TheErrorTellsWhichSettingWasCorrected) {
  user(R"({"hostname":"My.Room"})");
  const auto loaded = TarvinelConfig::load(userFile, std::nullopt, log.category("config"));
  const auto corrected = errorAs<TarvinelConfigError>(loaded.error);
  ASSERT_TRUE(corrected);
  EXPECT_EQ(corrected->kind(), TarvinelConfigError::Case::invalidHostname);
  EXPECT_EQ(corrected->value(), "My.Room");
}

// Brand

TEST_F(TarvinelConfigTest, AnInvalidColourIsDroppedAndTheBrandKept) {
  const TarvinelConfig config = load(R"({"brand":{"name":"N","color":"#FFF"}})");
  EXPECT_EQ(config.brand, (BrandConfig{.name = "N"}));
  EXPECT_EQ(error, "brand.color \"#FFF\" must be #rrggbb; ignoring it");
}

TEST_F(TarvinelConfigTest, BesideAnInvalidHostNameTheColourIsNotLookedAt) {
  profile(R"({"fps":30})");
  const TarvinelConfig config = load(R"({"hostname":"a.b","brand":{"color":"red"}})");
  EXPECT_EQ(config.hostname, "tarvinel");
  EXPECT_EQ(config.brand, (BrandConfig{.color = "red"}));
  EXPECT_THAT(error, StartsWith("hostname \"a.b\""));
  EXPECT_THAT(log.lines(), IsEmpty());
}

TEST_F(TarvinelConfigTest, TildesInPathsAreExpanded) {
  const HomeVariable home("/home/ann");
  const auto brand = load(R"({"brand":{"image":"~/logo.png","font":"fonts/f.woff2"}})").brand;
  EXPECT_EQ(brand->image, "/home/ann/logo.png");
  EXPECT_EQ(brand->font, "fonts/f.woff2");
}

TEST_F(TarvinelConfigTest, BrandTextsMayHoldAnythingAndBeLong) {
  const std::string text = repeated("<b onclick='x'>\\u0000&amp;\\\"\\n", 3500);
  const std::string name = *load(R"({"brand":{"name":")" + text + "\"}}").brand->name;
  EXPECT_EQ(error, "");
  EXPECT_EQ(name, repeated(std::string_view("<b onclick='x'>\0&amp;\"\n", 23), 3500));
}

// Allowed hosts

TEST_F(TarvinelConfigTest, AllowedHostsAreAListOfNames) {
  EXPECT_THAT(load("{}").allowedHosts, IsEmpty());
  EXPECT_THAT(load(R"({"allowedHosts":null})").allowedHosts, IsEmpty());
  EXPECT_THAT(load(R"({"allowedHosts":["Screen.example.org","b"]})").allowedHosts,
              ElementsAre("Screen.example.org", "b"));
  EXPECT_EQ(error, "");
}

TEST_F(TarvinelConfigTest, AllowedHostsOfAnotherTypeAreRejected) {
  for (const char* value : {R"("screen.example.org")", "1", "{}", "[1]", "[null]", "[[]]"}) {
    EXPECT_EQ(errorOf(std::string(R"({"allowedHosts":)") + value + "}"),
              "\"allowedHosts\" must be a list of texts in double quotes");
  }
}

TEST_F(TarvinelConfigTest, AnInvalidAllowedHostIsDroppedAndTheFirstIsReported) {
  EXPECT_THAT(
      load(R"({"allowedHosts":["a.example","http://b.example/","c.example:80"]})").allowedHosts,
      ElementsAre("a.example"));
  EXPECT_EQ(error,
            "allowedHosts \"http://b.example/\" must be a host name without port and path; "
            "ignoring it");
}

TEST_F(TarvinelConfigTest, TheUsersAllowedHostsReplaceTheProfiles) {
  profile(R"({"allowedHosts":["a.example"]})");
  EXPECT_THAT(load("{}").allowedHosts, ElementsAre("a.example"));
  EXPECT_THAT(load(R"({"allowedHosts":["b.example"]})").allowedHosts, ElementsAre("b.example"));
  EXPECT_THAT(load(R"({"allowedHosts":null})").allowedHosts, IsEmpty());
}

// Profile

TEST_F(TarvinelConfigTest, TheUsersKeysWinOverTheProfiles) {
  profile(R"({"port":8081,"fps":10})");
  const TarvinelConfig config = load(R"({"fps":15,"scale":1.5})");
  EXPECT_EQ(config.port, 8081);
  EXPECT_EQ(config.fps, 15);
  EXPECT_EQ(config.scale, 1.5);
  EXPECT_EQ(error, "");
  EXPECT_THAT(log.lines(), ElementsAre("config|info|loaded bundled profile hostname=tarvinel"));
}

TEST_F(TarvinelConfigTest, AnEmptyProfileIsNotWorthALine) {
  profile("{}");
  load();
  EXPECT_THAT(log.lines(), IsEmpty());
}

TEST_F(TarvinelConfigTest, TheProfilesRelativePathsAreResolvedAgainstItsFolder) {
  const HomeVariable home("/home/ann");
  profile(R"({"brand":{"image":"logo.png","font":"~/f.woff2"}})");
  EXPECT_EQ(load().brand->image, (folder / "Profile/logo.png").native());
  EXPECT_EQ(load().brand->font, "/home/ann/f.woff2");
  profile(R"({"brand":{"image":"/logo.png","font":"a/../f.otf"}})");
  EXPECT_EQ(load().brand->image, "/logo.png");
  EXPECT_EQ(load().brand->font, (folder / "Profile/a/../f.otf").native());
}

TEST_F(TarvinelConfigTest, AUsersBrandIsMergedKeyByKey) {
  profile(R"({"brand":{"name":"V","waiting":"W","disconnected":"D","image":"i.png",
    "font":"/f.ttf","color":"#000000"}})");
  EXPECT_EQ(load(R"({"brand":{"color":"#112233"}})").brand,
            (BrandConfig{"V", "W", "D", (folder / "Profile/i.png").native(), "/f.ttf", "#112233"}));
  EXPECT_EQ(load(R"({"brand":{"name":null}})").brand->name, std::nullopt);
}

TEST_F(TarvinelConfigTest, ANullBrandOfTheUserRemovesTheProfiles) {
  profile(R"({"brand":{"name":"V"}})");
  EXPECT_EQ(load(R"({"brand":null})").brand, std::nullopt);
  EXPECT_EQ(error, "");
}

TEST_F(TarvinelConfigTest, AProfilesBrandThatIsNoObjectIsReplaced) {
  profile(R"({"brand":7})");
  EXPECT_EQ(load(R"({"brand":{"name":"N"}})").brand, (BrandConfig{.name = "N"}));
  EXPECT_EQ(error, "");
}

TEST_F(TarvinelConfigTest, ABrokenProfileIsLoggedAndTheUsersFileIsUsed) {
  profile("{\n  \"fps\": }");
  EXPECT_EQ(load(R"({"port":8080})").port, 8080);
  EXPECT_THAT(error, StartsWith("config.json is not valid JSON: line 2, column 10: "));
  EXPECT_THAT(log.lines(),
              ElementsAre("config|error|bundled profile at " + profileFile + " ignored: " + error));
}

TEST_F(TarvinelConfigTest, AProfileThatIsAFolderOrNoObjectIsLogged) {
  std::filesystem::create_directories(profileFile);
  EXPECT_EQ(load(), TarvinelConfig());
  EXPECT_EQ(error, "config.json: Is a directory");
  std::filesystem::remove(profileFile);
  profile("7");
  EXPECT_EQ(load(), TarvinelConfig());
  EXPECT_EQ(error, "config.json is valid JSON but not an object");
  EXPECT_THAT(log.lines(), ElementsAre(HasSubstr(" ignored: config.json: Is a directory"),
                                       HasSubstr(" ignored: config.json is valid JSON but not")));
}

// At most one error is reported, the first

TEST_F(TarvinelConfigTest, TheProfilesErrorComesBeforeTheUsers) {
  profile("[]");
  EXPECT_EQ(load("x"), TarvinelConfig());
  EXPECT_EQ(error, "config.json is valid JSON but not an object");
}

TEST_F(TarvinelConfigTest, AReadErrorComesBeforeACorrection) {
  profile("[]");
  EXPECT_EQ(load(R"({"hostname":"a.b"})").hostname, "tarvinel");
  EXPECT_EQ(error, "config.json is valid JSON but not an object");
  EXPECT_EQ(load(R"({"brand":{"color":"red"}})").brand, BrandConfig());
  EXPECT_EQ(error, "config.json is valid JSON but not an object");
  EXPECT_EQ(load(R"({"fps":"x"})"), TarvinelConfig());
  EXPECT_EQ(error, "config.json is valid JSON but not an object");
}

TEST_F(TarvinelConfigTest, AfterAColourTheProfileIsNamedOnlyWhenAnotherErrorIsReported) {
  profile(R"({"brand":{"color":"red"}})");
  load();
  EXPECT_EQ(error, "brand.color \"red\" must be #rrggbb; ignoring it");
  EXPECT_THAT(log.lines(), IsEmpty());
  load("x");
  EXPECT_THAT(error, StartsWith("config.json is not valid JSON: "));
  EXPECT_THAT(log.lines(), ElementsAre("config|info|loaded bundled profile hostname=tarvinel"));
}

// Unusable files

TEST_F(TarvinelConfigTest, ABrokenUserFileLeavesTheProfile) {
  profile(R"({"fps":10})");
  EXPECT_EQ(load("[1]").fps, 10);
  EXPECT_EQ(error, "config.json is valid JSON but not an object");
}

TEST_F(TarvinelConfigTest, WhatIsNoObjectIsReported) {
  for (const char* text : {"[]", "\"x\"", "7", "true", "null", " [{\"fps\":1}] "}) {
    EXPECT_EQ(errorOf(text), "config.json is valid JSON but not an object") << text;
  }
}

TEST_F(TarvinelConfigTest, WhatIsNoJSONIsReportedWithLineAndColumn) {
  EXPECT_THAT(errorOf(""), StartsWith("config.json is not valid JSON: line 1, column 1: "));
  EXPECT_THAT(errorOf("{\"fps\": 20,}"),
              StartsWith("config.json is not valid JSON: line 1, column 12: "));
  EXPECT_THAT(errorOf("{\n  \"fps\": 20\n  \"port\": 80\n}"),
              StartsWith("config.json is not valid JSON: line 3, column 8: "));
  EXPECT_THAT(errorOf("{} x"), StartsWith("config.json is not valid JSON: line 1, column 4: "));
}

TEST_F(TarvinelConfigTest, ANumberThatIsTooLargeIsReportedWithItsPlace) {
  EXPECT_EQ(errorOf("{\"budgetMbps\":\n 1e400}"),
            "config.json is not valid JSON: line 2, column 6: the number is too large");
}

TEST_F(TarvinelConfigTest, InvalidUTF8IsReported) {
  EXPECT_THAT(errorOf("{\"hostname\":\"\xFF\"}"),
              StartsWith("config.json is not valid JSON: line 1, column 14: "));
  EXPECT_THAT(errorOf("{\"hostname\":\"\\ud800\"}"), HasSubstr("line 1, column "));
}

TEST_F(TarvinelConfigTest, AByteOrderMarkIsPassedOver) {
  EXPECT_EQ(load("\xEF\xBB\xBF{\"fps\":7}").fps, 7);
  EXPECT_EQ(error, "");
  EXPECT_THAT(errorOf("\xEF\xBB\xBF{x"), HasSubstr("line 1, column 2: "));
}

TEST_F(TarvinelConfigTest, OfARepeatedKeyTheLastStands) {
  EXPECT_EQ(load(R"({"fps":7,"fps":8,"brand":{"name":"a"},"brand":{"color":"#111111"}})").fps, 8);
  EXPECT_EQ(load().brand, (BrandConfig{.color = "#111111"}));
}

TEST_F(TarvinelConfigTest, NULInATextIsLikeAnyOtherWrongCharacter) {
  EXPECT_EQ(load(R"({"hostname":"a\u0000b"})").hostname, "tarvinel");
  EXPECT_THAT(error, StartsWith("hostname \"a?b\" must be"));
}

TEST_F(TarvinelConfigTest, DeepNestingCostsNothing) {
  EXPECT_EQ(load("{\"x\":" + repeated("[", 10000) + repeated("]", 10000) + ",\"fps\":7}").fps, 7);
  EXPECT_EQ(load("{\"x\":" + repeated("{\"brand\":", 10000) + "1" + repeated("}", 10000) + "}"),
            TarvinelConfig());
  EXPECT_EQ(error, "");
  EXPECT_THAT(errorOf(repeated("[", 500000)), StartsWith("config.json is not valid JSON: line 1"));
  EXPECT_EQ(errorOf(repeated("[", 10000) + repeated("]", 10000)),
            "config.json is valid JSON but not an object");
}

TEST_F(TarvinelConfigTest, AFileLargerThanTheLimitIsNotRead) {
  const std::string start = R"({"fps":7,"x":")";
  EXPECT_EQ(load(start + std::string((1 << 20) - start.size() - 2, 'x') + "\"}").fps, 7);
  EXPECT_EQ(error, "");
  EXPECT_EQ(errorOf(start + std::string((1 << 20) - start.size() - 1, 'x') + "\"}"),
            "config.json is larger than 1 MiB");
}

TEST_F(TarvinelConfigTest, AHugeFileIsNotRead) {
  user("{");
  std::filesystem::resize_file(userFile, std::uintmax_t{100} << 30);  // a sparse file of 100 GiB
  EXPECT_EQ(load(), TarvinelConfig());
  EXPECT_EQ(error, "config.json is larger than 1 MiB");
}

TEST_F(TarvinelConfigTest, AFolderInPlaceOfTheFileIsReported) {
  std::filesystem::create_directory(userFile);
  EXPECT_EQ(load(), TarvinelConfig());
  EXPECT_EQ(error, "config.json: Is a directory");
}

TEST_F(TarvinelConfigTest, APipeInPlaceOfTheFileIsReportedAndNotWaitedOn) {
  ASSERT_EQ(::mkfifo(userFile.c_str(), 0600), 0);
  EXPECT_EQ(load(), TarvinelConfig());
  EXPECT_EQ(error, "config.json is not a regular file");
}

TEST_F(TarvinelConfigTest, AFileThatMayNotBeReadIsReported) {
  user("{}");
  ASSERT_EQ(::chmod(userFile.c_str(), 0), 0);
  ASSERT_EQ(::chmod(folder.path().c_str(), 0755), 0);
  const OrdinaryUser ordinary;
  EXPECT_EQ(load(), TarvinelConfig());
  EXPECT_EQ(error, "config.json: Permission denied");
}

TEST_F(TarvinelConfigTest, LinksAreFollowedAndALoopIsReported) {
  folder.write("real.json", R"({"fps":7})");
  std::filesystem::create_symlink(folder / "real.json", userFile);
  EXPECT_EQ(load().fps, 7);
  std::filesystem::remove(userFile);
  std::filesystem::create_symlink(folder / "nowhere", userFile);
  EXPECT_EQ(load(), TarvinelConfig());
  EXPECT_EQ(error, "");
  std::filesystem::remove(userFile);
  std::filesystem::create_symlink(userFile, userFile);
  EXPECT_EQ(load(), TarvinelConfig());
  EXPECT_EQ(error, "config.json: Too many levels of symbolic links");
}

TEST_F(TarvinelConfigTest, TheErrorNamesTheFileAsItIsCalled) {
  const auto other = folder.write("room 2.json", "[]");
  const auto loaded = TarvinelConfig::load(other, std::nullopt, log.category("config"));
  EXPECT_EQ(describe(loaded.error), "room 2.json is valid JSON but not an object");
}

TEST_F(TarvinelConfigTest, TheDefaultPlaceIsInTheApplicationSupportFolder) {
  EXPECT_THAT(TarvinelConfig::defaultURL().native(), EndsWith("/Tarvinel/config.json"));
}

}  // namespace
}  // namespace tarvinel
