#include "core/support/ReplacedFile.h"

#include "core/support/UniqueFd.h"

#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <system_error>

namespace tarvinel {

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
    unlink(newFile.c_str());  // a full disk would be left with a part of it
    throw;
  }
}

}  // namespace tarvinel
