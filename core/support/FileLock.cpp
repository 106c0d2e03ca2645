#include "core/support/FileLock.h"

#include <sys/file.h>

#include <cerrno>

namespace tarvinel {

FileLock tryLock(int file) {
  if (flock(file, LOCK_EX | LOCK_NB) == 0) return FileLock::taken;
  return errno == EWOULDBLOCK ? FileLock::heldByAnother : FileLock::notSupported;
}

}  // namespace tarvinel
