#include "app/UserDefaults.h"
#include "tests/support/CapturedLog.h"
#include "tests/support/TemporaryFolder.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <optional>

namespace tarvinel {
namespace {

using test::CapturedLog;
using test::TemporaryFolder;
using testing::ElementsAre;
using testing::StartsWith;

class UserDefaultsTest : public testing::Test {
 protected:
  UserDefaults defaults() { return {folder / "Tarvinel/preferences.json", log.category("app")}; }

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
  EXPECT_EQ(nlohmann::json::parse(folder.read("Tarvinel/preferences.json")),
            nlohmann::json::parse(R"({"other": [1, 2], "uploadFolder": "/b"})"));
}

TEST_F(UserDefaultsTest, WhatCannotBeReadIsUnset) {
  for (const char* content : {"", "{", "[1]", "\xFF", R"({"uploadPerParticipant": "yes",)",
                              R"({"uploadPerParticipant": "yes", "uploadFolder": 7})"}) {
    folder.write("Tarvinel/preferences.json", content);
    EXPECT_FALSE(defaults().boolean("uploadPerParticipant")) << content;
    EXPECT_EQ(defaults().text("uploadFolder"), std::nullopt) << content;
  }
}

TEST_F(UserDefaultsTest, WhatCannotBeWrittenIsLoggedAndHoldsForThisRun) {
  folder.write("Tarvinel", "a file in place of the folder");
  UserDefaults stuck = defaults();
  stuck.set("uploadPerParticipant", true);
  EXPECT_TRUE(stuck.boolean("uploadPerParticipant"));
  ASSERT_EQ(log.lines().size(), 1U);
  EXPECT_THAT(log.lines().front(), StartsWith("app|error|preferences at " +
                                              (folder / "Tarvinel/preferences.json").string() +
                                              " could not be written: "));
}

}  // namespace
}  // namespace tarvinel
