#include "core/support/UUID.h"

#include <sys/random.h>

#include <cerrno>
#include <cstring>
#include <system_error>

namespace tarvinel {

UUID UUID::random() {
  UUID uuid;
  // up to 256 bytes are never returned short once the kernel's pool is ready
  while (getrandom(uuid.bytes_.data(), uuid.bytes_.size(), 0) < 0) {
    if (errno != EINTR) throw std::system_error(errno, std::generic_category(), "getrandom");
  }
  uuid.bytes_[6] = static_cast<std::uint8_t>((uuid.bytes_[6] & 0x0FU) | 0x40U);
  uuid.bytes_[8] = static_cast<std::uint8_t>((uuid.bytes_[8] & 0x3FU) | 0x80U);
  return uuid;
}

std::string UUID::text() const {
  constexpr std::string_view digits = "0123456789abcdef";
  std::string text;
  for (std::size_t i = 0; i < bytes_.size(); ++i) {
    if (i == 4 || i == 6 || i == 8 || i == 10) text += '-';
    text += digits[bytes_[i] >> 4U];
    text += digits[bytes_[i] & 0x0FU];
  }
  return text;
}

}  // namespace tarvinel

std::size_t std::hash<tarvinel::UUID>::operator()(const tarvinel::UUID& uuid) const noexcept {
  std::size_t value = 0;
  std::memcpy(&value, uuid.bytes_.data(), sizeof value);  // random bytes are their own hash
  return value;
}
