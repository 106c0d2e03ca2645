#include "app/platform/UserDefaults.h"
#include "core/support/RegularFile.h"
#include "core/support/UniqueFd.h"
#include "tests/support/CapturedLog.h"
#include "tests/support/TemporaryFolder.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <fcntl.h>

#include <filesystem>
#include <optional>
#include <string>
#include <thread>

namespace tarvinel {
namespace {

using test::CapturedLog;
using test::TemporaryFolder;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::StartsWith;

class UserDefaultsTest : public testing::Test {
 protected:
  UserDefaults defaults() { return {{folder / "Tarvinel/preferences.json"}, log.category("app")}; }

  nlohmann::json content() const {
    return nlohmann::json::parse(folder.read("Tarvinel/preferences.json"));
  }

  TemporaryFolder folder;
  CapturedLog log;
};

TEST_F(UserDefaultsTest, NothingIsSetAtFirst) {
  const UserDefaults unset = defaults();
  EXPECT_FALSE(unset.boolean("uploadPerParticipant"));
  EXPECT_EQ(unset.text("uploadFolder"), std::nullopt);
  EXPECT_THAT(folder.files(), ElementsAre());
}

TEST_F(UserDefaultsTest, RemembersFromOneRunToTheNext) {
  UserDefaults first = defaults();
  first.set("uploadPerParticipant", true);
  first.set("uploadFolder", std::string("/photos/ä"));
  EXPECT_TRUE(first.boolean("uploadPerParticipant"));
  EXPECT_TRUE(defaults().boolean("uploadPerParticipant"));
  EXPECT_EQ(defaults().text("uploadFolder"), "/photos/ä");
  EXPECT_THAT(folder.files(), ElementsAre("Tarvinel/preferences.json"));
}

TEST_F(UserDefaultsTest, AnEmptyTextIsUnset) {
  UserDefaults first = defaults();
  first.set("uploadFolder", std::string());
  EXPECT_EQ(defaults().text("uploadFolder"), std::nullopt);
}

TEST_F(UserDefaultsTest, WhatItDoesNotKnowStays) {
  folder.write("Tarvinel/preferences.json", R"({"other": [1, 2], "uploadFolder": "/a"})");
  defaults().set("uploadFolder", std::string("/b"));
  EXPECT_EQ(content(), nlohmann::json::parse(R"({"other": [1, 2], "uploadFolder": "/b"})"));
}

TEST_F(UserDefaultsTest, WhatAnotherProgramSetMeanwhileStays) {
  UserDefaults first = defaults();
  UserDefaults second = defaults();
  first.set("uploadFolder", std::string("/a"));
  second.set("uploadPerParticipant", true);
  EXPECT_EQ(content(),
            nlohmann::json::parse(R"({"uploadFolder": "/a", "uploadPerParticipant": true})"));
}

TEST_F(UserDefaultsTest, TwoProgramsAtTheSameTimeLoseNothing) {
  constexpr int values = 100;
  const auto setMany = [this](const std::string& prefix) {
    UserDefaults program = defaults();
    for (int i = 0; i < values; ++i)
      program.set(prefix + std::to_string(i), true);
  };
  std::thread other([&] { setMany("other"); });
  setMany("this");
  other.join();
  EXPECT_EQ(content().size(), 2U * values);
  EXPECT_THAT(log.lines(), IsEmpty());
}

TEST_F(UserDefaultsTest, AProgramThatKeepsTheFolderLockedIsNotWaitedForWithoutEnd) {
  folder.write("Tarvinel/preferences.json", "{}");
  const UniqueFd held(open((folder / "Tarvinel").c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
  ASSERT_EQ(tryLock(held.get()), FileLock::taken);
  defaults().set("uploadFolder", std::string("/a"));
  EXPECT_EQ(defaults().text("uploadFolder"), "/a");
}

TEST_F(UserDefaultsTest, WhatWasKeptInTheEarlierPlaceIsTakenOver) {
  folder.write("earlier.json", R"({"uploadFolder": "/a", "uploadPerParticipant": true})");
  const UserDefaults::Place place{folder / "Tarvinel/preferences.json", folder / "earlier.json"};
  UserDefaults moved(place, log.category("app"));
  EXPECT_EQ(moved.text("uploadFolder"), "/a");
  moved.set("uploadFolder", std::string("/b"));
  EXPECT_EQ(content(),
            nlohmann::json::parse(R"({"uploadFolder": "/b", "uploadPerParticipant": true})"));
  moved.set("uploadPerParticipant", false);
  EXPECT_EQ(UserDefaults(place, log.category("app")).text("uploadFolder"), "/b");
}

TEST_F(UserDefaultsTest, WhatCannotBeReadIsUnset) {
  for (const char* content : {"", "{", "[1]", "\xFF", R"({"uploadPerParticipant": "yes",)",
                              R"({"uploadPerParticipant": "yes", "uploadFolder": 7})"}) {
    folder.write("Tarvinel/preferences.json", content);
    EXPECT_FALSE(defaults().boolean("uploadPerParticipant")) << content;
    EXPECT_EQ(defaults().text("uploadFolder"), std::nullopt) << content;
  }
}

TEST_F(UserDefaultsTest, WhatCannotBeWrittenIsLoggedAndHoldsForThisRunUntilItCan) {
  folder.write("Tarvinel", "a file in place of the folder");
  UserDefaults stuck = defaults();
  stuck.set("uploadPerParticipant", true);
  EXPECT_TRUE(stuck.boolean("uploadPerParticipant"));
  ASSERT_EQ(log.lines().size(), 1U);
  EXPECT_THAT(log.lines().front(), StartsWith("app|error|preferences at " +
                                              (folder / "Tarvinel/preferences.json").string() +
                                              " could not be written: "));
  std::filesystem::remove(folder / "Tarvinel");
  stuck.set("uploadFolder", std::string("/a"));
  EXPECT_EQ(content(),
            nlohmann::json::parse(R"({"uploadPerParticipant": true, "uploadFolder": "/a"})"));
}

TEST_F(UserDefaultsTest, APathThatIsNoTextDoesNotKeepTheRestFromBeingSaved) {
  UserDefaults program = defaults();
  program.set("uploadFolder", std::string("/\xFF"));
  EXPECT_EQ(program.text("uploadFolder"), "/\xFF");
  EXPECT_EQ(log.lines().size(), 1U);
  program.set("uploadPerParticipant", true);
  EXPECT_EQ(content(), nlohmann::json::parse(R"({"uploadPerParticipant": true})"));
}

TEST_F(UserDefaultsTest, AFileThatCannotBeReadMeanwhileIsWrittenWithWhatThisRunKnows) {
  UserDefaults program = defaults();
  program.set("uploadFolder", std::string("/a"));
  folder.write("Tarvinel/preferences.json", "{");
  program.set("uploadPerParticipant", true);
  EXPECT_EQ(content(),
            nlohmann::json::parse(R"({"uploadPerParticipant": true, "uploadFolder": "/a"})"));
}

}  // namespace
}  // namespace tarvinel
