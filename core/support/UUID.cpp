#include "core/support/UUID.h"

#include <array>
#include <cstring>
#include <system_error>

namespace tarvinel {

UUID UUID::random() {
  UUID uuid;
  const int status = sd_id128_randomize(&uuid.id_);
  if (status < 0) throw std::system_error(-status, std::generic_category(), "sd_id128_randomize");
  return uuid;
}

std::string UUID::text() const {
  std::array<char, SD_ID128_UUID_STRING_MAX> text{};
  return sd_id128_to_uuid_string(id_, text.data());
}

}  // namespace tarvinel

std::size_t std::hash<tarvinel::UUID>::operator()(const tarvinel::UUID& uuid) const noexcept {
  std::size_t value = 0;
  std::memcpy(&value, &uuid.id_, sizeof value);  // random bytes are their own hash
  return value;
}
