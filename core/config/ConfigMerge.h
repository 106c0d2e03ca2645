#pragma once

#include <nlohmann/json_fwd.hpp>

namespace tarvinel {

/// Lays the user's settings over the built-in profile. Static and pure.
class ConfigMerge {
 public:
  ConfigMerge() = delete;

  /// Both are objects. Every key of the user's wins whole; only "brand", where both have an object,
  /// is merged key by key.
  static nlohmann::json merge(nlohmann::json bundled, const nlohmann::json& user);
};

}  // namespace tarvinel
