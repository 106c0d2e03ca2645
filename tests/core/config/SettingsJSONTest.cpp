#include "core/config/ConfigFile.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include <cstddef>
#include <stdexcept>
#include <string>

namespace tarvinel {
namespace {

using nlohmann::json;
using testing::HasSubstr;
using testing::Not;
using testing::StartsWith;

std::string problemOf(std::string_view text) {
  try {
    parseSettingsJSON(text);
  } catch (const std::runtime_error& error) {
    return error.what();
  }
  return "";
}

TEST(SettingsJSON, KeepsTheValuesOfADocumentAndOfItsObjectsAndLists) {
  const char* text =
      R"({"a":1,"b":-2,"c":2.5,"d":"x","e":true,"f":null,"g":{"h":"y","i":[]},"j":["k",1,null]})";
  EXPECT_EQ(parseSettingsJSON(text), json::parse(text));
}

TEST(SettingsJSON, OfWhatLiesDeeperOnlyTheKindIsKept) {
  EXPECT_EQ(parseSettingsJSON(R"({"a":[1,{"b":2},[3]],"c":{"d":{"e":[1]},"f":[{}]},"g":1})"),
            json::parse(R"({"a":[1,{},[]],"c":{"d":{},"f":[]},"g":1})"));
}

TEST(SettingsJSON, ADocumentNeedNotBeAnObject) {
  EXPECT_EQ(parseSettingsJSON("[1,{\"a\":2}]"), json::array());
  EXPECT_EQ(parseSettingsJSON("\"x\""), "x");
  EXPECT_EQ(parseSettingsJSON("null"), nullptr);
}

TEST(SettingsJSON, OfARepeatedKeyTheLastValueStands) {
  EXPECT_EQ(parseSettingsJSON(R"({"a":{"b":1},"a":{"c":2}})"), json::parse(R"({"a":{"c":2}})"));
  EXPECT_EQ(parseSettingsJSON(R"({"a":{"b":1},"a":7,"c":8})"), json::parse(R"({"a":7,"c":8})"));
}

TEST(SettingsJSON, NamesThePlaceOfWhatIsWrong) {
  EXPECT_THAT(problemOf("{,}"), StartsWith("line 1, column 2: "));
  EXPECT_THAT(problemOf("\n\n  nul"), StartsWith("line 3, column 6: "));
  EXPECT_THAT(problemOf("{\"a\": 1"), StartsWith("line 1, column 8: "));
  EXPECT_THAT(problemOf("{\"a\": \"b\n\"}"), StartsWith("line 1, column 9: "));
  EXPECT_EQ(problemOf("[1e400]"), "line 1, column 6: the number is too large");
  EXPECT_EQ(problemOf("[-1e400 ]"), "line 1, column 7: the number is too large");
  EXPECT_EQ(problemOf("1e400"), "line 1, column 5: the number is too large");
}

TEST(SettingsJSON, CountsColumnsAfterAByteOrderMark) {
  EXPECT_THAT(problemOf("\xEF\xBB\xBF{,}"), StartsWith("line 1, column 2: "));
  EXPECT_EQ(problemOf("\xEF\xBB\xBF[1e400]"), "line 1, column 6: the number is too large");
}

TEST(SettingsJSON, TheLargestFileMayHoldAnything) {
  constexpr std::size_t size = std::size_t{1} << 20;
  EXPECT_THAT(problemOf(std::string(size, '[')), StartsWith("line 1, column 1048577: "));
  const std::string deep = std::string(size / 2 - 4, '[') + std::string(size / 2 - 4, ']');
  EXPECT_EQ(parseSettingsJSON("{\"a\":" + deep + "}"), json::parse(R"({"a":[[]]})"));
  std::string objects = "{\"a\":[";
  while (objects.size() < size - 10)
    objects += "{},";
  EXPECT_EQ(parseSettingsJSON(objects + "1]}")["a"].size(), objects.size() / 3 - 1);
}

TEST(SettingsJSON, SaysWhatIsWrongWithoutQuotingTheDocument) {
  EXPECT_EQ(problemOf("{\"a\" \"secret\"}"),
            "line 1, column 13: syntax error while parsing object separator - unexpected string "
            "literal; expected ':'");
  EXPECT_THAT(problemOf("{\"a\": \"secret"), Not(HasSubstr("secret")));
  EXPECT_LT(problemOf("{\"a\": \"" + std::string(100000, '\'')).size(), 200U);
}

TEST(SettingsJSON, TakesNothingThatIsNotJSON) {
  for (const char* text : {"{'a':1}", "{a:1}", "{} {}", "{\"a\":01}", "{\"a\":.5}", "{\"a\":NaN}",
                           "{\"a\":1,}", "/* */{}", "{\"a\":\"\t\"}", "{\"a\":\"\\x\"}"}) {
    EXPECT_THAT(problemOf(text), StartsWith("line 1, column ")) << text;
  }
}

}  // namespace
}  // namespace tarvinel
