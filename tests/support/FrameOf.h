#pragma once

#include "core/frames/Frame.h"

#include <cstddef>
#include <memory>

namespace tarvinel {

/// Returns a frame of that many zero bytes.
inline Frame frameOf(std::size_t bytes) {
  return std::make_shared<const Bytes>(bytes);
}

}  // namespace tarvinel
