#include "core/uploads/Placement.h"

#include <fcntl.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <cstdio>
#include <system_error>

namespace tarvinel {

namespace {

bool saysNotSupported(int code) {
  return code == EINVAL || code == ENOSYS || code == EOPNOTSUPP || code == EPERM;
}

/// What the failed call's errno means.
Placement::Outcome outcomeOfFailure(const Directory& directory, const std::string& to) {
  if (errno == EEXIST) return Placement::Outcome::nameTaken;
  if (saysNotSupported(errno)) return Placement::Outcome::notSupported;
  throw std::system_error(errno, std::generic_category(), (directory.path() / to).string());
}

void renameOver(const Directory& directory, const std::string& from, const std::string& to) {
  const int folder = directory.descriptor();
  if (renameat(folder, from.c_str(), folder, to.c_str()) == 0) return;
  const int code = errno;
  unlinkat(folder, to.c_str(), 0);  // the claim
  throw std::system_error(code, std::generic_category(), (directory.path() / to).string());
}

}  // namespace

Placement::Outcome Placement::place(const Directory& directory, const std::string& from,
                                    const std::string& to) {
  constexpr std::array<Road, 2> roads{byRename, byLink};
  for (const Road road : roads) {
    const Outcome outcome = road(directory, from, to);
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
  // should the first name stay, it is removed with the left-overs
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
