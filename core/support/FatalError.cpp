#include "core/support/FatalError.h"

#include <cstdio>
#include <cstdlib>

namespace tarvinel {

void fatalError(std::string_view why) noexcept {
  std::fprintf(stderr, "tarvinel: fatal: %.*s\n", static_cast<int>(why.size()), why.data());
  std::abort();
}

}  // namespace tarvinel
