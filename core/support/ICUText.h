#pragma once

#include <unicode/stringpiece.h>

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <string_view>

namespace tarvinel {

/// A UTF-8 text as ICU takes it: a view of the first 2 GiB.
inline icu::StringPiece icuPiece(std::string_view text) {
  return {text.data(), static_cast<std::int32_t>(std::min<std::size_t>(text.size(), INT32_MAX))};
}

}  // namespace tarvinel
