#include "core/support/RegularFile.h"

#include "core/support/UniqueFd.h"

#include <fcntl.h>
#include <fmt/format.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <system_error>

namespace tarvinel {

namespace {

using std::filesystem::path;

[[noreturn]] void fail(const path& file, std::errc code) {
  throw FileReadError(code, file.filename().native() + ": " + std::make_error_code(code).message());
}

[[noreturn]] void failWithErrno(const path& file) {
  fail(file, static_cast<std::errc>(errno));
}

[[noreturn]] void failTooLarge(const path& file, std::size_t maxBytes) {
  throw FileReadError(std::errc::file_too_large,
                      fmt::format("{} is larger than {} MiB", file.filename().native(),
                                  maxBytes / (std::size_t{1} << 20)));
}

/// Returns the size in bytes.
std::size_t checked(const struct stat& status, const path& file, std::size_t maxBytes) {
  if (S_ISDIR(status.st_mode)) fail(file, std::errc::is_a_directory);
  if (!S_ISREG(status.st_mode)) {
    throw FileReadError(std::errc::operation_not_supported,
                        file.filename().native() + " is not a regular file");
  }
  const auto size = static_cast<std::size_t>(std::max<off_t>(status.st_size, 0));
  if (size > maxBytes) failTooLarge(file, maxBytes);
  return size;
}

/// Checks before it opens, since opening a device can have effects; and opens without blocking,
/// since the file may have become a pipe meanwhile.
UniqueFd opened(const path& file, std::size_t maxBytes) {
  if (file.native().find('\0') != std::string::npos) fail(file, std::errc::invalid_argument);
  struct stat status{};
  if (::stat(file.c_str(), &status) != 0) failWithErrno(file);
  checked(status, file, maxBytes);
  UniqueFd fd(::open(file.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK | O_NOCTTY));
  if (!fd) failWithErrno(file);
  return fd;
}

/// Appends up to `count` more bytes; returns false at the end of the file.
bool readMore(int fd, const path& file, std::size_t count, Bytes& bytes) {
  const std::size_t before = bytes.size();
  bytes.resize(before + count);
  ssize_t got = 0;
  do {
    got = ::read(fd, bytes.data() + before, count);
  } while (got < 0 && errno == EINTR);
  if (got < 0) failWithErrno(file);
  bytes.resize(before + static_cast<std::size_t>(got));
  return got > 0;
}

}  // namespace

Bytes readRegularFile(const path& file, std::size_t maxBytes) {
  constexpr std::size_t minRead = 4096;
  const UniqueFd fd = opened(file, maxBytes);
  struct stat status{};
  if (::fstat(fd.get(), &status) != 0) failWithErrno(file);
  // one byte of room beyond the size shows in one read that nothing follows
  std::size_t room = std::max(checked(status, file, maxBytes) + 1, minRead);
  Bytes bytes;
  bytes.reserve(room + minRead);
  while (readMore(fd.get(), file, room, bytes)) {
    if (bytes.size() > maxBytes) failTooLarge(file, maxBytes);
    room = minRead;
  }
  return bytes;
}

FileLock tryLock(int file) {
  if (flock(file, LOCK_EX | LOCK_NB) == 0) return FileLock::taken;
  return errno == EWOULDBLOCK ? FileLock::heldByAnother : FileLock::notSupported;
}

namespace {

void check(bool succeeded) {
  if (!succeeded) throw std::system_error(errno, std::generic_category());
}

void writeDurably(const std::filesystem::path& file, std::string_view content) {
  const UniqueFd fd(open(file.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0600));
  check(static_cast<bool>(fd));
  while (!content.empty()) {
    const ssize_t count = write(fd.get(), content.data(), content.size());
    check(count >= 0 || errno == EINTR);
    if (count > 0) content.remove_prefix(static_cast<std::size_t>(count));
  }
  check(fsync(fd.get()) == 0);
}

}  // namespace

void replaceFile(const std::filesystem::path& file, std::string_view content) {
  std::filesystem::create_directories(file.parent_path());
  auto newFile = file;
  newFile += ".new";
  try {
    writeDurably(newFile, content);
    std::filesystem::rename(newFile, file);
  } catch (const std::system_error&) {
    unlink(newFile.c_str());  // a full disk would keep a part of it
    throw;
  }
}

}  // namespace tarvinel
