#include "app/doctor/ConfigurationCheck.h"

#include "app/startup/Configuration.h"
#include "core/config/ConfigCoding.h"
#include "core/config/ConfigFile.h"
#include "core/support/ApplicationSupport.h"

#include <nlohmann/json.hpp>

#include <fmt/format.h>
#include <fmt/ranges.h>

#include <system_error>

namespace tarvinel {

namespace {

using nlohmann::json;

/// Every setting there is, each with some value.
json everySetting() {
  TarvinelConfig all;
  all.motionFps = 1;
  all.brand = BrandConfig{"", "", "", "", "", ""};
  return encodeConfig(all);
}

void addUnknownKeys(std::vector<std::string>& unknown, const json& object, const json& known,
                    const std::string& prefix = {}) {
  for (const auto& [key, value] : object.items()) {
    const auto found = known.find(key);
    if (found == known.end()) {
      unknown.push_back(prefix + key);
    } else if (found->is_object() && value.is_object()) {
      addUnknownKeys(unknown, value, *found, key + ".");
    }
  }
}

/// The numbers that were brought into their range.
std::vector<std::string> correctionsOf(const json& object, const json& inForce) {
  std::vector<std::string> corrections;
  for (const auto& [key, value] : object.items()) {
    const auto used = inForce.find(key);
    if (key == "port" || used == inForce.end() || !value.is_number() || *used == value) continue;
    corrections.push_back(fmt::format("{} is {} instead of {}", key, used->dump(), value.dump()));
  }
  return corrections;
}

std::vector<std::string> lostFilesOf(const std::optional<BrandConfig>& brand) {
  if (!brand) return {};
  const auto assets = BrandConfig::Assets::load(brand);
  std::vector<std::string> lost;
  if (brand->image && !assets.image) lost.push_back("brand.image, " + *brand->image);
  if (brand->font && !assets.font) lost.push_back("brand.font, " + *brand->font);
  return lost;
}

Finding readFinding(const ConfigurationFacts& facts) {
  const std::string& file = facts.file.native();
  if (facts.exists) return {Finding::State::fine, fmt::format("{} is in force.", file)};
  return {Finding::State::fine, fmt::format("There is no {}: everything is at its default.", file)};
}

}  // namespace

ConfigurationFacts ConfigurationFacts::of(const CommandLineOptions& options) {
  const auto loaded = Configuration::load(options, Log::silent());
  ConfigurationFacts facts{.file = options.config.value_or(TarvinelConfig::defaultURL()),
                           .problem = loaded.problem};
  std::error_code unreachable;
  facts.exists = std::filesystem::exists(facts.file, unreachable);
  if (!facts.exists && !options.config) {
    // of the places that are looked at, the one to write it to
    facts.file = SupportEnvironment::current().configFolder() / "Tarvinel/config.json";
  }
  const json object = ConfigFile::read(facts.file).object;
  addUnknownKeys(facts.unknownKeys, object, everySetting());
  if (!facts.problem) facts.corrections = correctionsOf(object, encodeConfig(loaded.config));
  facts.lostBrandFiles = lostFilesOf(loaded.config.brand);
  return facts;
}

Findings judge(const ConfigurationFacts& facts) {
  using enum Finding::State;
  Findings findings;
  if (facts.problem) {
    findings.push_back({toBeMended, *facts.problem, {"Correct the file, then start anew."}});
  } else {
    findings.push_back(readFinding(facts));
  }
  if (!facts.unknownKeys.empty()) {
    findings.push_back({worthKnowing,
                        fmt::format("No such setting: {}.", fmt::join(facts.unknownKeys, ", ")),
                        {"Look at its spelling; capital letters count."}});
  }
  for (const std::string& correction : facts.corrections)
    findings.push_back({worthKnowing, fmt::format("Out of range: {}.", correction)});
  for (const std::string& lost : facts.lostBrandFiles) {
    findings.push_back({toBeMended,
                        fmt::format("It cannot be used: {}.", lost),
                        {"It is missing, unreadable, larger than 10 MB or of an unknown type."}});
  }
  return findings;
}

}  // namespace tarvinel
