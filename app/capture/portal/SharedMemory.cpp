#include "app/capture/portal/SharedMemory.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>

namespace tarvinel {

bool SharedMemory::mayShrink() const {
  const int seals = fcntl(file_, F_GET_SEALS);
  if (seals >= 0 && (seals & F_SEAL_SHRINK) != 0) return false;
  return fcntl(file_, F_ADD_SEALS, F_SEAL_SHRINK) != 0;
}

std::size_t SharedMemory::bytesFrom(std::int64_t offset) const {
  struct stat file {};
  if (fstat(file_, &file) != 0) return 0;
  return static_cast<std::size_t>(std::max<std::int64_t>(file.st_size - offset, 0));
}

bool SharedMemory::read(std::int64_t offset, std::uint8_t* to, std::size_t count) const {
  while (count > 0) {
    const ssize_t got = pread(file_, to, count, offset);
    if (got < 0 && errno == EINTR) continue;
    if (got <= 0) return false;
    to += got;
    offset += got;
    count -= static_cast<std::size_t>(got);
  }
  return true;
}

}  // namespace tarvinel
