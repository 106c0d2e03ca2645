#pragma once

#include <cstdint>

namespace tarvinel {

enum class FileLock : std::uint8_t {
  taken,  ///< until every descriptor of the open file is closed
  heldByAnother,
  notSupported,  ///< by the file system, as on some network drives
};

/// Tries to lock an open file or folder (flock, exclusively) among all processes; never waits.
FileLock tryLock(int file);

}  // namespace tarvinel
