#pragma once

#include <nlohmann/json_fwd.hpp>

#include <string_view>

namespace tarvinel {

/// Parses JSON (RFC 8259, with or without a byte-order mark) as far as settings go: of what lies
/// deeper than an entry of an object or a list in the document only the kind is kept, as an empty
/// object or array, so that whoever walks through the result needs little stack. Of a repeated key
/// the last value stands. Takes time and memory in proportion to the text, no stack in proportion
/// to its depth. Throws std::runtime_error that names line and column (1-based, in bytes). Pure.
nlohmann::json parseSettingsJSON(std::string_view text);

}  // namespace tarvinel
