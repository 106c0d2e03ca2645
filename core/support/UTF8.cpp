#include "core/support/UTF8.h"

#include <unicode/ustring.h>

#include <cstdint>
#include <limits>

namespace tarvinel {

bool isValidUTF8(std::string_view text) {
  if (text.size() > std::numeric_limits<std::int32_t>::max()) return false;
  UErrorCode outcome = U_ZERO_ERROR;
  std::int32_t length = 0;
  // a conversion into no room reads everything and refuses what is malformed
  u_strFromUTF8(nullptr, 0, &length, text.data(), static_cast<std::int32_t>(text.size()), &outcome);
  return outcome != U_INVALID_CHAR_FOUND;
}

}  // namespace tarvinel
