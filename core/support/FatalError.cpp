#include "core/support/FatalError.h"

#include "core/support/NonBlockingOutput.h"

#include <fmt/format.h>
#include <unistd.h>

#include <cstdlib>

namespace tarvinel {

void fatalError(std::string_view why) noexcept {
  writeWithoutWaiting(STDERR_FILENO, fmt::format("tarvinel: fatal: {}\n", why));
  std::abort();
}

}  // namespace tarvinel
