#include "core/uploads/PartialFile.h"

#include "core/support/RegularFile.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <cstdio>
#include <system_error>
#include <utility>

namespace tarvinel {

namespace {

constexpr int maxTries = 10;  // other programs can keep taking the name
constexpr std::int64_t writebackBytes = std::int64_t{8} << 20U;
constexpr mode_t ordinaryMode = 0666;  // reduced by the user's mask

[[noreturn]] void fail(int code = errno) {
  throw std::system_error(code, std::generic_category());
}

/// Returns whether a name refers to an open file.
bool isNamed(const Directory& directory, const std::string& name, int file) {
  struct stat opened{};
  if (fstat(file, &opened) != 0) fail();
  const auto named = directory.find(name);
  return named && named->st_ino == opened.st_ino && named->st_dev == opened.st_dev;
}

/// Makes a locked file without a name; returns an invalid descriptor if that is not supported.
UniqueFd makeNameless(const Directory& directory) {
  UniqueFd file(
      openat(directory.descriptor(), ".", O_TMPFILE | O_WRONLY | O_CLOEXEC, ordinaryMode));
  return file && tryLock(file.get()) == FileLock::taken ? std::move(file) : UniqueFd();
}

/// Links a file without a name to a name. Sets errno if it returns false.
bool nameFile(const Directory& directory, const std::string& name, int file) {
  const std::string itself = "/proc/self/fd/" + std::to_string(file);
  return linkat(AT_FDCWD, itself.c_str(), directory.descriptor(), name.c_str(),
                AT_SYMLINK_FOLLOW) == 0;
}

/// Makes a file with a name and locks it; returns nullopt if the name is taken or if another
/// process treated the file as a left-over before it was locked.
std::optional<UniqueFd> makeAndLock(const Directory& directory, const std::string& name) {
  UniqueFd file(openat(directory.descriptor(), name.c_str(),
                       O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC, ordinaryMode));
  if (!file && errno == EEXIST) return std::nullopt;
  if (!file) fail();
  if (tryLock(file.get()) == FileLock::heldByAnother) return std::nullopt;
  if (!isNamed(directory, name, file.get())) return std::nullopt;
  return file;
}

/// Makes a locked file, which gets its name only once it is locked if the file system supports
/// that; returns nullopt if the name is taken.
std::optional<UniqueFd> makeFile(const Directory& directory, const std::string& name) {
  if (UniqueFd file = makeNameless(directory)) {
    if (nameFile(directory, name, file.get())) return file;
    if (errno == EEXIST) return std::nullopt;
  }
  return makeAndLock(directory, name);
}

/// Opens an existing file to examine its lock; returns nullopt if it is gone or not an ordinary
/// file. A pipe is opened without waiting for its other end.
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

std::optional<PartialFile> PartialFile::create(std::shared_ptr<const Directory> directory,
                                               const std::string& name) {
  for (int i = 0; i < maxTries; ++i) {
    if (auto file = makeFile(*directory, name)) {
      return PartialFile(std::move(directory), std::move(*file));
    }
    if (!removeLeftOver(*directory, name)) break;
  }
  return std::nullopt;
}

bool PartialFile::removeLeftOver(const Directory& directory, const std::string& name) {
  if (!directory.find(name)) return true;
  const auto file = openExisting(directory, name);
  if (!file || tryLock(file->get()) != FileLock::taken) return false;
  // between opening and locking, its owner may have renamed or removed it
  if (isNamed(directory, name, file->get())) directory.removeFile(name);
  return true;
}

bool PartialFile::hasName(const std::string& name) const {
  return isNamed(*directory_, name, lock_.get());
}

bool PartialFile::removeName(const std::string& name) const noexcept {
  try {
    if (hasName(name)) directory_->removeFile(name);
    return true;
  } catch (const std::system_error&) {
    return false;
  }
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

// By default the kernel gathers the whole file in memory and the flush at the end takes as long
// again; if a file system cannot begin early, the flush does it all.
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

namespace {

bool isNotSupported(int code) {
  return code == EINVAL || code == ENOSYS || code == EOPNOTSUPP || code == EPERM;
}

/// Returns the outcome for the failed call's errno.
Placement::Outcome outcomeOfFailure(const Directory& directory, const std::string& to) {
  if (errno == EEXIST) return Placement::Outcome::nameTaken;
  if (isNotSupported(errno)) return Placement::Outcome::notSupported;
  throw std::system_error(errno, std::generic_category(), (directory.path() / to).string());
}

void renameOver(const Directory& directory, const std::string& from, const std::string& to) {
  const int folder = directory.descriptor();
  if (renameat(folder, from.c_str(), folder, to.c_str()) == 0) return;
  const int code = errno;
  unlinkat(folder, to.c_str(), 0);  // removes the claim
  throw std::system_error(code, std::generic_category(), (directory.path() / to).string());
}

}  // namespace

Placement::Outcome Placement::place(const Directory& directory, const std::string& from,
                                    const std::string& to) {
  constexpr std::array<Strategy, 2> strategies{byRename, byLink};
  for (const Strategy strategy : strategies) {
    const Outcome outcome = strategy(directory, from, to);
    if (outcome != Outcome::notSupported) return outcome;
  }
  return byClaim(directory, from, to);
}

Placement::Outcome Placement::byRename(const Directory& directory, const std::string& from,
                                       const std::string& to) {
  const int folder = directory.descriptor();
  if (renameat2(folder, from.c_str(), folder, to.c_str(), RENAME_NOREPLACE) == 0) {
    return Outcome::placed;
  }
  return outcomeOfFailure(directory, to);
}

Placement::Outcome Placement::byLink(const Directory& directory, const std::string& from,
                                     const std::string& to) {
  const int folder = directory.descriptor();
  if (linkat(folder, from.c_str(), folder, to.c_str(), 0) != 0) {
    return outcomeOfFailure(directory, to);
  }
  // if the first name stays, it is removed with the left-overs
  unlinkat(folder, from.c_str(), 0);
  return Outcome::placed;
}

Placement::Outcome Placement::byClaim(const Directory& directory, const std::string& from,
                                      const std::string& to) {
  try {
    directory.openFile(to, O_WRONLY | O_CREAT | O_EXCL, 0666);
  } catch (const std::system_error& error) {
    if (error.code() == std::errc::file_exists) return Outcome::nameTaken;
    throw;
  }
  renameOver(directory, from, to);
  return Outcome::placed;
}

}  // namespace tarvinel
