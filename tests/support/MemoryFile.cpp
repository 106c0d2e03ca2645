#include "tests/support/MemoryFile.h"

#include <sys/mman.h>
#include <unistd.h>

#include <stdexcept>

namespace tarvinel::test {

MemoryFile::MemoryFile(const std::vector<std::uint8_t>& bytes)
    : file_(memfd_create("test", MFD_CLOEXEC)) {
  if (!write(0, bytes)) throw std::runtime_error("no file of memory");
}

bool MemoryFile::resize(std::size_t bytes) {
  return ftruncate(descriptor(), static_cast<off_t>(bytes)) == 0;
}

bool MemoryFile::write(std::size_t offset, const std::vector<std::uint8_t>& bytes) {
  return pwrite(descriptor(), bytes.data(), bytes.size(), static_cast<off_t>(offset)) ==
         static_cast<ssize_t>(bytes.size());
}

}  // namespace tarvinel::test
