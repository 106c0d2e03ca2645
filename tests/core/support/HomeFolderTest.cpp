#include "core/support/ApplicationSupport.h"
#include "tests/support/HomeVariable.h"

#include <gtest/gtest.h>

#include <pwd.h>
#include <unistd.h>

#include <string>

namespace tarvinel {
namespace {

using test::HomeVariable;

std::string homeInDatabase() {
  const passwd* entry = ::getpwuid(::getuid());
  return entry == nullptr ? "/" : entry->pw_dir;
}

TEST(HomeFolder, IsWhatTheEnvironmentSaysElseTheUserDatabase) {
  const HomeVariable set("/home/ann");
  EXPECT_EQ(homeFolder(), "/home/ann");
  const HomeVariable empty("");
  EXPECT_EQ(homeFolder(), homeInDatabase());
}

TEST(HomeFolder, ATildeStandsForTheHomeOfTheUser) {
  const HomeVariable home("/home/ann");
  EXPECT_EQ(expandingTilde("~"), "/home/ann");
  EXPECT_EQ(expandingTilde("~/"), "/home/ann/");
  EXPECT_EQ(expandingTilde("~/a/~/b.png"), "/home/ann/a/~/b.png");
  EXPECT_EQ(expandingTilde("~root/a"), std::string(::getpwnam("root")->pw_dir) + "/a");
  EXPECT_EQ(expandingTilde("~root"), ::getpwnam("root")->pw_dir);
}

TEST(HomeFolder, AnythingElseStaysAsItIs) {
  for (const char* path : {"", "/a/~", "a~", "./~/a", "~no-such-user/a", "~no-such-user"}) {
    EXPECT_EQ(expandingTilde(path), path);
  }
  const std::string withNUL("~root\0/a", 8);
  EXPECT_EQ(expandingTilde(withNUL), withNUL);
}

}  // namespace
}  // namespace tarvinel
