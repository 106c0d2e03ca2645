#pragma once

#include "core/config/TarvinelConfig.h"

#include <nlohmann/json_fwd.hpp>

namespace tarvinel {

/// The settings in an object. A key that is absent or null takes its default; unknown keys are
/// passed over. The host name is lower-cased and the brand's paths are expanded; nothing else is
/// corrected. Throws std::runtime_error when a value has the wrong type or does not fit its type.
TarvinelConfig decodeConfig(const nlohmann::json& object);

/// The object that `decodeConfig` reads, without the absent settings.
nlohmann::json encodeConfig(const TarvinelConfig& config);

}  // namespace tarvinel
