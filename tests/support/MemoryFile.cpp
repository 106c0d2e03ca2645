#include "tests/support/MemoryFile.h"

#include <fcntl.h>
#include <sys/mman.h>
#include <unistd.h>

#include <stdexcept>

namespace tarvinel::test {

MemoryFile::MemoryFile(const std::vector<std::uint8_t>& bytes, Seals seals)
    : file_(
          memfd_create("test", MFD_CLOEXEC | (seals == Seals::allowed ? MFD_ALLOW_SEALING : 0U))) {
  if (!write(0, bytes)) throw std::runtime_error("no file of memory");
}

bool MemoryFile::seal() {
  return fcntl(descriptor(), F_ADD_SEALS, F_SEAL_SHRINK) == 0;
}

bool MemoryFile::resize(std::size_t bytes) {
  return ftruncate(descriptor(), static_cast<off_t>(bytes)) == 0;
}

bool MemoryFile::write(std::size_t offset, const std::vector<std::uint8_t>& bytes) {
  return pwrite(descriptor(), bytes.data(), bytes.size(), static_cast<off_t>(offset)) ==
         static_cast<ssize_t>(bytes.size());
}

}  // namespace tarvinel::test
