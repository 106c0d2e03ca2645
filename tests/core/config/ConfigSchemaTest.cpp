#include "core/config/ConfigCoding.h"
#include "core/config/TarvinelConfig.h"
#include "core/pages/HelpPage.h"
#include "tests/support/HomeVariable.h"
#include "tests/support/TemporaryFolder.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include <filesystem>
#include <fstream>
#include <regex>
#include <string>
#include <vector>

namespace tarvinel {
namespace {

using nlohmann::json;
using testing::UnorderedElementsAreArray;

std::filesystem::path document(const char* name) {
  return std::filesystem::path(TARVINEL_SOURCE_DIR) / "docs" / name;
}

json parsed(const char* name) {
  std::ifstream file(document(name));
  return json::parse(file);
}

/// Returns the settings in the schema, without the keys that the program ignores.
json settings() {
  json properties = parsed("config.schema.json").at("properties");
  properties.erase("$schema");
  return properties;
}

std::vector<std::string> keysOf(const json& object) {
  std::vector<std::string> keys;
  for (const auto& [key, value] : object.items())
    keys.push_back(key);
  return keys;
}

/// Returns a value after decoding and clamping.
json afterLoading(const std::string& key, const json& value) {
  return encodeConfig(decodeConfig({{key, value}}).clamped()).at(key);
}

bool isRefused(const std::string& key, const json& value) {
  const test::TemporaryFolder folder;
  const auto file = folder.write("config.json", json{{key, value}}.dump());
  return TarvinelConfig::load(file, std::nullopt, Log::silent().category("config")).error !=
         nullptr;
}

TarvinelConfig::Loaded loaded(const char* name) {
  return TarvinelConfig::load(document(name), std::nullopt, Log::silent().category("config"));
}

TEST(ConfigSchema, HasEveryKeyOfTheProgram) {
  TarvinelConfig full;
  full.motionFps = 12;
  full.brand = BrandConfig{"", "", "", "", "", ""};
  const json encoded = encodeConfig(full);
  EXPECT_EQ(keysOf(settings()), keysOf(encoded));
  EXPECT_EQ(keysOf(settings().at("brand").at("properties")), keysOf(encoded.at("brand")));
  EXPECT_THAT(keysOf(settings()), UnorderedElementsAreArray(HelpPage::documentedConfigKeys));
}

TEST(ConfigSchema, TheDefaultsAreThoseOfTheProgram) {
  json defaults = json::object();
  for (const json all = settings(); const auto& [key, setting] : all.items()) {
    if (setting.contains("default")) defaults[key] = setting["default"];
  }
  EXPECT_EQ(defaults, encodeConfig(TarvinelConfig()));
}

TEST(ConfigSchema, TheRangesAreThoseOfTheProgram) {
  int ranges = 0;
  for (const json all = settings(); const auto& [key, setting] : all.items()) {
    if (!setting.contains("minimum")) continue;
    ++ranges;
    const json& least = setting["minimum"];
    const json& greatest = setting["maximum"];
    EXPECT_EQ(afterLoading(key, least), least) << key;
    EXPECT_EQ(afterLoading(key, greatest), greatest) << key;
    if (key == "port") {
      EXPECT_TRUE(isRefused(key, -1));
      EXPECT_TRUE(isRefused(key, greatest.get<int>() + 1));
      continue;
    }
    EXPECT_EQ(afterLoading(key, least.get<double>() - 1), least) << key;
    EXPECT_EQ(afterLoading(key, greatest.get<double>() + 1), greatest) << key;
  }
  EXPECT_EQ(ranges, 7);
}

TEST(ConfigSchema, WholeNumbersAreThoseOfTheProgram) {
  for (const json all = settings(); const auto& [key, setting] : all.items()) {
    if (!setting.contains("minimum")) continue;
    const bool whole = setting["type"][0] == "integer";
    EXPECT_EQ(isRefused(key, 1.5), whole) << key;
  }
}

TEST(ConfigSchema, ThePatternsAgreeWithTheProgram) {
  const std::regex hostname(settings()["hostname"]["pattern"].get<std::string>());
  for (const std::string& name :
       {std::string(), std::string("a"), std::string("Studio-3"), std::string("-a"),
        std::string("a-"), std::string("-"), std::string("a.b"), std::string("a_b"),
        std::string(63, 'a'), std::string(64, 'a'), std::string("b\xC3\xBCro")}) {
    EXPECT_EQ(std::regex_match(name, hostname), !isRefused("hostname", name)) << name;
  }
  const std::regex color(settings()["brand"]["properties"]["color"]["pattern"].get<std::string>());
  for (const std::string text : {"#E2791b", "#E2791", "E2791BA", "#E2791G", "#FFF", ""}) {
    EXPECT_EQ(std::regex_match(text, color), BrandConfig::isValidColor(text)) << text;
  }
  const std::regex host(settings()["allowedHosts"]["items"]["pattern"].get<std::string>());
  for (const std::string& name :
       {std::string(), std::string("a"), std::string("Screen.example-1.org"), std::string("a.b."),
        std::string(".a"), std::string("a..b"), std::string("a.-b"), std::string("a.b:80"),
        std::string("*.b"), std::string("http://a"), std::string("a/b"),
        "a." + std::string(63, 'b'), "a." + std::string(64, 'b')}) {
    EXPECT_EQ(std::regex_match(name, host), !isRefused("allowedHosts", json::array({name})))
        << name;
  }
}

TEST(ConfigSchema, TheSampleHoldsTheDefaultsOfEveryKey) {
  EXPECT_EQ(loaded("config.sample.json").error, nullptr);
  EXPECT_EQ(loaded("config.sample.json").config, TarvinelConfig());
  const json sample = parsed("config.sample.json");
  for (const std::string& key : keysOf(settings())) {
    EXPECT_TRUE(sample.contains(key)) << key;
    EXPECT_TRUE(sample.contains("// " + key)) << key;
  }
}

TEST(ConfigSchema, TheBrandSampleHoldsEveryKey) {
  const test::HomeVariable home("/home/ann");
  const auto sample = loaded("config.brand.sample.json");
  EXPECT_EQ(sample.error, nullptr);
  EXPECT_EQ(sample.config.brand,
            (BrandConfig{"Studio Example", "We begin in a moment", "One moment, connecting again",
                         "/home/ann/Pictures/logo.svg", "/home/ann/.local/share/fonts/brand.woff2",
                         "#e2791b"}));
}

}  // namespace
}  // namespace tarvinel
