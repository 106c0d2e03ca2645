#include "core/config/ConfigFile.h"

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

namespace tarvinel {
namespace {

using nlohmann::json;

json merged(const char* bundled, const char* user) {
  return ConfigMerge::merge(json::parse(bundled), json::parse(user));
}

TEST(ConfigMerge, KeysOfOneSideAreKeptAndTheUsersWins) {
  EXPECT_EQ(merged(R"({"a":1,"b":2})", R"({"b":3,"c":4})"), json::parse(R"({"a":1,"b":3,"c":4})"));
  EXPECT_EQ(merged("{}", "{}"), json::object());
  EXPECT_EQ(merged(R"({"a":1})", R"({"a":null})"), json::parse(R"({"a":null})"));
}

TEST(ConfigMerge, OnlyTheBrandIsMergedAndOneLevelDeep) {
  EXPECT_EQ(merged(R"({"x":{"a":1}})", R"({"x":{"b":2}})"), json::parse(R"({"x":{"b":2}})"));
  EXPECT_EQ(merged(R"({"brand":{"name":"V","image":{"a":1}}})",
                   R"({"brand":{"color":"c","image":{"b":2}}})"),
            json::parse(R"({"brand":{"name":"V","color":"c","image":{"b":2}}})"));
}

TEST(ConfigMerge, ABrandThatIsNoObjectOnEitherSideIsReplacedWhole) {
  EXPECT_EQ(merged(R"({"brand":{"name":"V"}})", R"({"brand":null})"),
            json::parse(R"({"brand":null})"));
  EXPECT_EQ(merged(R"({"brand":7})", R"({"brand":{"name":"N"}})"),
            json::parse(R"({"brand":{"name":"N"}})"));
  EXPECT_EQ(merged(R"({})", R"({"brand":{"name":"N"}})"), json::parse(R"({"brand":{"name":"N"}})"));
}

}  // namespace
}  // namespace tarvinel
