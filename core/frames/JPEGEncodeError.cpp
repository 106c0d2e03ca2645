#include "core/frames/JPEGEncodeError.h"

#include <string>

namespace tarvinel {

JPEGEncodeError JPEGEncodeError::unsupportedPixelFormat(PixelFormat format) {
  return {Case::unsupportedPixelFormat, format,
          "unsupportedPixelFormat(" + std::to_string(format) + ")"};
}

JPEGEncodeError JPEGEncodeError::lockFailed(std::int32_t status) {
  return {Case::lockFailed, status, "lockFailed(" + std::to_string(status) + ")"};
}

JPEGEncodeError JPEGEncodeError::contextFailed() {
  return {Case::contextFailed, 0, "contextFailed"};
}

JPEGEncodeError JPEGEncodeError::encodeFailed() {
  return {Case::encodeFailed, 0, "encodeFailed"};
}

}  // namespace tarvinel
