#include "core/config/ConfigMerge.h"

#include <nlohmann/json.hpp>

namespace tarvinel {

namespace {

bool mergesKeyByKey(const std::string& key, const nlohmann::json& bundled,
                    const nlohmann::json& user) {
  return key == "brand" && bundled.is_object() && user.is_object();
}

}  // namespace

nlohmann::json ConfigMerge::merge(nlohmann::json bundled, const nlohmann::json& user) {
  for (const auto& [key, value] : user.items()) {
    nlohmann::json& merged = bundled[key];
    if (mergesKeyByKey(key, merged, value)) {
      merged.update(value);
    } else {
      merged = value;
    }
  }
  return bundled;
}

}  // namespace tarvinel
