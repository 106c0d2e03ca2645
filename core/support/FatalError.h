#pragma once

#include <string_view>

namespace tarvinel {

/// Stops the program in a state that valid input cannot lead to. Writes `why` to standard error.
[[noreturn]] void fatalError(std::string_view why) noexcept;

}  // namespace tarvinel
