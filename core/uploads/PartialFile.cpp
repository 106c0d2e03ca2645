#include "core/uploads/PartialFile.h"

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <optional>
#include <system_error>
#include <utility>

namespace tarvinel {

namespace {

constexpr int maxTries = 10;
constexpr std::int64_t writebackBytes = std::int64_t{8} << 20U;
constexpr mode_t ordinaryMode = 0666;  // less what the user's mask takes away

[[noreturn]] void fail(int code = errno) {
  throw std::system_error(code, std::generic_category());
}

enum class Lock : std::uint8_t { taken, heldByAnother, notSupported };

Lock tryLock(int file) {
  if (flock(file, LOCK_EX | LOCK_NB) == 0) return Lock::taken;
  return errno == EWOULDBLOCK ? Lock::heldByAnother : Lock::notSupported;
}

/// Whether the name still stands for the open file: between opening and locking it another process
/// may have removed it.
bool isNamed(const Directory& directory, const std::string& name, int file) {
  struct stat opened {};
  if (fstat(file, &opened) != 0) return false;
  const auto named = directory.find(name);
  return named && named->st_ino == opened.st_ino && named->st_dev == opened.st_dev;
}

/// Nothing when the name is taken.
std::optional<UniqueFd> makeFile(const Directory& directory, const std::string& name) {
  try {
    return directory.openFile(name, O_WRONLY | O_CREAT | O_EXCL, ordinaryMode);
  } catch (const std::system_error& error) {
    if (error.code() != std::errc::file_exists) throw;
    return std::nullopt;
  }
}

/// An existing file for a look at its lock; nothing when it is gone or is no ordinary file. A pipe
/// is opened without waiting for its other end.
std::optional<UniqueFd> openExisting(const Directory& directory, const std::string& name) {
  const auto status = directory.find(name);
  if (!status || !S_ISREG(status->st_mode)) return std::nullopt;
  try {
    return directory.openFile(name, O_RDWR | O_NONBLOCK);
  } catch (const std::system_error&) {
    return std::nullopt;
  }
}

}  // namespace

PartialFile::PartialFile(std::shared_ptr<const Directory> directory, UniqueFd file)
    : directory_(std::move(directory)),
      file_(std::move(file)),
      lock_(fcntl(file_.get(), F_DUPFD_CLOEXEC, 0)) {
  if (!lock_) fail();
}

PartialFile PartialFile::create(std::shared_ptr<const Directory> directory,
                                const std::string& name) {
  for (int i = 0; i < maxTries; ++i) {
    auto file = makeFile(*directory, name);
    if (!file) {
      if (!removeLeftOver(*directory, name)) fail(EEXIST);
    } else if (tryLock(file->get()) != Lock::heldByAnother &&
               isNamed(*directory, name, file->get())) {
      return {std::move(directory), std::move(*file)};
    }  // else another process took the new file for a left-over
  }
  fail(EBUSY);
}

bool PartialFile::isAvailable(const Directory& directory, const std::string& name) {
  if (!directory.find(name)) return true;
  const auto file = openExisting(directory, name);
  return file && tryLock(file->get()) != Lock::heldByAnother;
}

bool PartialFile::removeLeftOver(const Directory& directory, const std::string& name) {
  const auto file = openExisting(directory, name);
  if (!file || tryLock(file->get()) == Lock::heldByAnother) return false;
  if (isNamed(directory, name, file->get())) directory.removeFile(name);
  return true;
}

void PartialFile::append(std::span<const std::uint8_t> bytes) {
  while (!bytes.empty()) {
    const ssize_t count = write(file_.get(), bytes.data(), bytes.size());
    if (count < 0 && errno == EINTR) continue;
    if (count < 0) fail();
    bytes = bytes.subspan(static_cast<std::size_t>(count));
    startWriteback(count);
  }
}

// Left to itself the kernel gathers the whole file in memory and the flush at the end takes as long
// again; where a file system cannot begin early, the flush does it all.
void PartialFile::startWriteback(std::int64_t count) {
  written_ += count;
  if (written_ - onItsWay_ < writebackBytes) return;
  sync_file_range(file_.get(), onItsWay_, written_ - onItsWay_, SYNC_FILE_RANGE_WRITE);
  onItsWay_ = written_;
}

void PartialFile::finish() {
  if (fsync(file_.get()) != 0) fail();
  if (close(file_.release()) != 0) fail();  // some network file systems report a full disk here
}

}  // namespace tarvinel
