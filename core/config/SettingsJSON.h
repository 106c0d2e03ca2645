#pragma once

#include <nlohmann/json_fwd.hpp>

#include <string_view>

namespace tarvinel {

/// Parses JSON (RFC 8259, with or without a byte-order mark) as far as settings go: of what lies
/// deeper than an entry of an object or a list in the document only the kind is kept, as an empty
/// object or array, so that no depth costs memory or stack. Of a repeated key the last value
/// stands. Throws std::runtime_error that names line and column (1-based, in bytes). Pure.
nlohmann::json parseSettingsJSON(std::string_view text);

}  // namespace tarvinel
