#pragma once

#include "core/support/Bytes.h"

#include <memory>

namespace tarvinel {

/// One complete JPEG file, immutable and shared: from the encoder to the last viewer its bytes are
/// never copied. Never null where a frame is expected.
using Frame = std::shared_ptr<const Bytes>;

}  // namespace tarvinel
