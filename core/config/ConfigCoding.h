#pragma once

#include "core/config/TarvinelConfig.h"

#include <nlohmann/json_fwd.hpp>

namespace tarvinel {

/// Decodes the settings in an object. An absent or null key takes its default; unknown keys are
/// ignored. The host name is lower-cased and the brand's paths are expanded; nothing else is
/// corrected. Throws std::runtime_error if a value has the wrong type or does not fit its type.
TarvinelConfig decodeConfig(const nlohmann::json& object);

/// Returns the object that `decodeConfig` reads, without the absent settings.
nlohmann::json encodeConfig(const TarvinelConfig& config);

}  // namespace tarvinel
