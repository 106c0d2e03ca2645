#pragma once

#include <stdexcept>

namespace tarvinel::pattern {

/// The built-in picture was asked for something else than its one display.
class Error : public std::runtime_error {
 public:
  Error() : std::runtime_error("the built-in picture has one display only") {}
};

}  // namespace tarvinel::pattern
