#include "core/frames/MemoryPixelBuffer.h"

#include <limits>
#include <stdexcept>

namespace tarvinel {

namespace {

std::size_t byteCount(std::size_t width, std::size_t height) {
  if (width != 0 && height > std::numeric_limits<std::size_t>::max() / 4 / width) {
    throw std::length_error("picture too large");
  }
  return width * height * 4;
}

}  // namespace

MemoryPixelBuffer::MemoryPixelBuffer(std::size_t width, std::size_t height)
    : width_(width), height_(height), pixels_(byteCount(width, height)) {}

}  // namespace tarvinel
