#include "core/config/ConfigCoding.h"

#include "core/support/ASCII.h"

#include <nlohmann/json.hpp>

#include <fmt/format.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <limits>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

namespace tarvinel {

namespace {

using nlohmann::json;

/// Returns the integer that `value` is; a floating value without a fraction, as 20.0, is one too.
std::optional<std::int64_t> integerIn(const json& value) {
  constexpr double limit = 9223372036854775808.0;  // 2 to the power of 63
  if (value.is_number_unsigned()) {
    const auto number = value.get<std::uint64_t>();
    if (!std::in_range<std::int64_t>(number)) return std::nullopt;
    return static_cast<std::int64_t>(number);
  }
  if (value.is_number_integer()) return value.get<std::int64_t>();
  if (!value.is_number_float()) return std::nullopt;
  const auto number = value.get<double>();
  if (std::trunc(number) != number || number < -limit || number >= limit) return std::nullopt;
  return static_cast<std::int64_t>(number);
}

/// The entries of one object, read by type. The readers return nullopt for an absent entry.
class Entries {
 public:
  explicit Entries(const json& object, std::string prefix = {})
      : object_(object), prefix_(std::move(prefix)) {}

  /// Returns null if the entry is absent or null.
  const json* find(const char* key) const {
    const auto found = object_.find(key);
    return found == object_.end() || found->is_null() ? nullptr : &*found;
  }

  std::optional<std::int64_t> integer(const char* key) const {
    return integer(key, std::numeric_limits<std::int64_t>::min(),
                   std::numeric_limits<std::int64_t>::max(), "must be a whole number");
  }

  std::optional<std::uint16_t> port(const char* key) const {
    const auto number = integer(key, 0, std::numeric_limits<std::uint16_t>::max(),
                                "must be a whole number from 0 to 65535");
    if (!number) return std::nullopt;
    return static_cast<std::uint16_t>(*number);
  }

  std::optional<double> number(const char* key) const {
    const json* value = find(key);
    if (value == nullptr) return std::nullopt;
    if (!value->is_number()) fail(key, "must be a number");
    return value->get<double>();
  }

  std::optional<std::string> text(const char* key) const {
    const json* value = find(key);
    if (value == nullptr) return std::nullopt;
    if (!value->is_string()) fail(key, "must be a text in double quotes");
    return value->get<std::string>();
  }

  std::vector<std::string> texts(const char* key) const {
    const json* value = find(key);
    if (value == nullptr) return {};
    const bool isRight = value->is_array() && std::ranges::all_of(*value, [](const json& entry) {
                           return entry.is_string();
                         });
    if (!isRight) fail(key, "must be a list of texts in double quotes");
    return value->get<std::vector<std::string>>();
  }

  const json* object(const char* key) const {
    const json* value = find(key);
    if (value != nullptr && !value->is_object()) fail(key, "must be an object in braces");
    return value;
  }

 private:
  std::optional<std::int64_t> integer(const char* key, std::int64_t least, std::int64_t greatest,
                                      const char* demand) const {
    const json* value = find(key);
    if (value == nullptr) return std::nullopt;
    const auto number = integerIn(*value);
    if (!number || *number < least || *number > greatest) fail(key, demand);
    return number;
  }

  [[noreturn]] void fail(const char* key, const char* demand) const {
    throw std::runtime_error(fmt::format("\"{}{}\" {}", prefix_, key, demand));
  }

  const json& object_;
  const std::string prefix_;
};

constexpr std::array brandKeys{std::pair{"name", &BrandConfig::name},
                               std::pair{"waiting", &BrandConfig::waiting},
                               std::pair{"disconnected", &BrandConfig::disconnected},
                               std::pair{"image", &BrandConfig::image},
                               std::pair{"font", &BrandConfig::font},
                               std::pair{"color", &BrandConfig::color}};

BrandConfig decodeBrand(const json& object) {
  const Entries entries(object, "brand.");
  BrandConfig brand;
  for (const auto& [key, field] : brandKeys)
    brand.*field = entries.text(key);
  return brand.expandingPaths();
}

json encodeBrand(const BrandConfig& brand) {
  json object = json::object();
  for (const auto& [key, field] : brandKeys) {
    if (brand.*field) object[key] = *(brand.*field);
  }
  return object;
}

}  // namespace

TarvinelConfig decodeConfig(const json& object) {
  const Entries entries(object);
  TarvinelConfig config;
  config.port = entries.port("port").value_or(config.port);
  config.fps = entries.integer("fps").value_or(config.fps);
  config.jpegQuality = entries.number("jpegQuality").value_or(config.jpegQuality);
  config.scale = entries.number("scale").value_or(config.scale);
  config.motionQuality = entries.number("motionQuality").value_or(config.motionQuality);
  config.budgetMbps = entries.number("budgetMbps").value_or(config.budgetMbps);
  config.motionFps = entries.integer("motionFps");
  config.hostname = asciiLowercased(entries.text("hostname").value_or(config.hostname));
  if (const json* brand = entries.object("brand")) config.brand = decodeBrand(*brand);
  config.allowedHosts = entries.texts("allowedHosts");
  return config;
}

json encodeConfig(const TarvinelConfig& config) {
  json object{{"port", config.port},
              {"fps", config.fps},
              {"jpegQuality", config.jpegQuality},
              {"scale", config.scale},
              {"motionQuality", config.motionQuality},
              {"budgetMbps", config.budgetMbps},
              {"hostname", config.hostname},
              {"allowedHosts", config.allowedHosts}};
  if (config.motionFps) object["motionFps"] = *config.motionFps;
  if (config.brand) object["brand"] = encodeBrand(*config.brand);
  return object;
}

}  // namespace tarvinel
