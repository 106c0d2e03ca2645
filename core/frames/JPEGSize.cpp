#include "core/frames/JPEGSize.h"

#include <cstddef>

namespace tarvinel {

namespace {

constexpr std::uint8_t markerPrefix = 0xFF;
constexpr std::size_t startOfImageLength = 2;
constexpr std::size_t frameHeaderLength = 9;  // up to the width

std::size_t number(const Bytes& file, std::size_t at) {
  return std::size_t{file[at]} << 8 | file[at + 1];
}

// Start of frame, but for the tables that are numbered among them.
bool beginsFrame(std::uint8_t marker) {
  return marker >= 0xC0 && marker <= 0xCF && marker != 0xC4 && marker != 0xC8 && marker != 0xCC;
}

}  // namespace

std::optional<PixelSize> sizeOfJPEG(const Bytes& file) {
  std::size_t at = startOfImageLength;
  while (at + frameHeaderLength <= file.size() && file[at] == markerPrefix) {
    if (beginsFrame(file[at + 1])) {
      return PixelSize{static_cast<std::int64_t>(number(file, at + 7)),
                       static_cast<std::int64_t>(number(file, at + 5))};
    }
    at += 2 + number(file, at + 2);
  }
  return std::nullopt;
}

}  // namespace tarvinel
