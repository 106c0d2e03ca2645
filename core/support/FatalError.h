#pragma once

#include <string_view>

namespace tarvinel {

/// Stops the program: for states that valid input cannot lead to. Says `why` on standard error.
[[noreturn]] void fatalError(std::string_view why) noexcept;

}  // namespace tarvinel
