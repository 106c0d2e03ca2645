#pragma once

#include <stdexcept>

namespace tarvinel {

/// The built-in picture was asked for something else than its one display.
class PatternCaptureError : public std::runtime_error {
 public:
  PatternCaptureError() : std::runtime_error("the built-in picture has one display only") {}
};

}  // namespace tarvinel
