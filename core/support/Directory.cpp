#include "core/support/Directory.h"

#include <dirent.h>
#include <fcntl.h>
#include <linux/openat2.h>
#include <sys/statvfs.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <cerrno>
#include <limits>
#include <memory>
#include <system_error>
#include <utility>

namespace tarvinel {

namespace {

constexpr int directoryFlags = O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC;
constexpr mode_t newDirectoryMode = 0777;  // reduced by the user's mask

[[noreturn]] void fail(const std::filesystem::path& path) {
  throw std::system_error(errno, std::generic_category(), path.string());
}

/// Opens a directory without following any symbolic link; kernels before 5.6 and some sandboxes
/// check the last component only.
int openWithoutLinks(const std::filesystem::path& path) {
  open_how how{};
  how.flags = static_cast<std::uint64_t>(directoryFlags);
  how.resolve = RESOLVE_NO_SYMLINKS;
  const long fd = syscall(SYS_openat2, AT_FDCWD, path.c_str(), &how, sizeof how);
  if (fd < 0 && (errno == ENOSYS || errno == EPERM)) return ::open(path.c_str(), directoryFlags);
  return static_cast<int>(fd);
}

struct CloseDirectory {
  void operator()(DIR* stream) const { closedir(stream); }
};
using DirectoryStream = std::unique_ptr<DIR, CloseDirectory>;

/// Opens a stream with its own descriptor, and thus its own position.
DirectoryStream streamOf(const Directory& directory) {
  UniqueFd fd(openat(directory.descriptor(), ".", directoryFlags));
  if (!fd) fail(directory.path());
  DirectoryStream stream(fdopendir(fd.get()));
  if (!stream) fail(directory.path());
  fd.release();
  return stream;
}

bool isDotOrDotDot(const std::string& name) {
  return name == "." || name == "..";
}

}  // namespace

Directory::Directory(UniqueFd fd, std::filesystem::path path)
    : fd_(std::move(fd)), path_(std::move(path)) {}

Directory Directory::open(const std::filesystem::path& path) {
  UniqueFd fd(openWithoutLinks(path));
  if (!fd) fail(path);
  return {std::move(fd), path};
}

Directory Directory::madeSubdirectory(const std::string& name) const {
  if (mkdirat(fd_.get(), name.c_str(), newDirectoryMode) == 0) {
    sync();
  } else if (errno != EEXIST) {
    fail(path_ / name);
  }
  return subdirectory(name);
}

Directory Directory::subdirectory(const std::string& name) const {
  const std::filesystem::path path = path_ / name;
  UniqueFd fd(openat(fd_.get(), name.c_str(), directoryFlags));
  if (!fd) fail(path);
  return {std::move(fd), path};
}

UniqueFd Directory::openFile(const std::string& name, int flags, mode_t mode) const {
  UniqueFd fd(openat(fd_.get(), name.c_str(), flags | O_NOFOLLOW | O_CLOEXEC, mode));
  if (!fd) fail(path_ / name);
  return fd;
}

std::optional<struct stat> Directory::find(const std::string& name) const {
  struct stat status{};
  if (fstatat(fd_.get(), name.c_str(), &status, AT_SYMLINK_NOFOLLOW) == 0) return status;
  if (errno != ENOENT) fail(path_ / name);
  return std::nullopt;
}

bool Directory::isWritable() const {
  return faccessat(fd_.get(), ".", W_OK | X_OK, AT_EACCESS) == 0;
}

// Most file systems return the type with the name, which avoids a query for each entry.
std::vector<Directory::Entry> Directory::entries() const {
  std::vector<Entry> entries;
  const DirectoryStream stream = streamOf(*this);
  while (const dirent* next = readdir(stream.get())) {
    std::string name = next->d_name;
    if (isDotOrDotDot(name)) continue;
    auto type = static_cast<mode_t>(DTTOIF(next->d_type));
    if (next->d_type == DT_UNKNOWN) {
      const auto status = find(name);
      if (!status) continue;  // removed meanwhile
      type = status->st_mode;
    }
    entries.push_back({std::move(name), S_ISDIR(type), S_ISREG(type)});
  }
  return entries;
}

void Directory::removeFile(const std::string& name) const {
  if (unlinkat(fd_.get(), name.c_str(), 0) != 0) fail(path_ / name);
}

std::int64_t Directory::freeBytes() const {
  struct statvfs volume{};
  if (fstatvfs(fd_.get(), &volume) != 0) fail(path_);
  std::int64_t bytes = 0;
  const bool overflows = __builtin_mul_overflow(volume.f_bavail, volume.f_frsize, &bytes);
  return overflows ? std::numeric_limits<std::int64_t>::max() : bytes;
}

// FAT over FUSE and some network file systems cannot synchronise a directory: EINVAL or ENOSYS.
void Directory::sync() const {
  if (fsync(fd_.get()) == 0 || errno == EINVAL || errno == ENOSYS || errno == ENOTSUP) return;
  fail(path_);
}

}  // namespace tarvinel
