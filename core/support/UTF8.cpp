#include "core/support/UTF8.h"

#include <unicode/utf8.h>

#include <cstdint>

namespace tarvinel {

bool isValidUTF8(std::string_view text) {
  const auto length = static_cast<std::int64_t>(text.size());
  std::int64_t position = 0;
  while (position < length) {
    UChar32 character = 0;
    U8_NEXT(text.data(), position, length, character);
    if (character < 0) return false;
  }
  return true;
}

}  // namespace tarvinel
