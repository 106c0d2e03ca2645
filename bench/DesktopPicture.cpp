#include "bench/DesktopPicture.h"

#include <algorithm>
#include <array>
#include <cstdint>

namespace tarvinel {

namespace {

struct Area {
  std::size_t x;
  std::size_t y;
  std::size_t width;
  std::size_t height;
};

using Colour = std::array<std::uint8_t, 3>;  // blue, green, red

constexpr Colour background{60, 50, 40};
constexpr Colour paper{255, 255, 255};
constexpr Colour terminal{40, 36, 30};
constexpr Colour ink{20, 20, 30};
constexpr std::array<Colour, 3> inks{{{240, 90, 100}, {80, 240, 100}, {80, 90, 240}}};
constexpr std::size_t cellWidth = 9;
constexpr std::size_t cellHeight = 18;
constexpr std::size_t strokes = 5;  // of a letter

class Painter {
 public:
  explicit Painter(MemoryPixelBuffer& buffer) : buffer_(buffer) {}

  void fill(const Area& area, Colour colour) {
    const std::size_t right = std::min(area.x + area.width, buffer_.width());
    const std::size_t bottom = std::min(area.y + area.height, buffer_.height());
    for (std::size_t y = area.y; y < bottom; ++y) {
      std::uint8_t* row = buffer_.pixels() + y * buffer_.bytesPerRow();
      for (std::size_t x = area.x; x < right; ++x)
        std::copy_n(colour.data(), 3, row + x * 4);
    }
  }

  void letter(std::size_t x, std::size_t y, Colour colour) {
    for (std::size_t i = 0; i < strokes; ++i) {
      const std::size_t left = x + below(6);
      const std::size_t top = y + below(11);
      fill({left, top, 1 + below(3), 1 + below(2)}, colour);
    }
  }

  template <class ColourOf>
  void text(const Area& area, ColourOf colourOf) {
    for (std::size_t y = area.y; y + cellHeight < area.y + area.height; y += cellHeight) {
      for (std::size_t x = area.x; x + cellWidth < area.x + area.width; x += cellWidth) {
        if (below(6) != 0) letter(x, y, colourOf());  // else a space
      }
    }
  }

  std::size_t below(std::size_t limit) {
    state_ = state_ * 1664525U + 1013904223U;
    return (state_ >> 16U) % limit;
  }

 private:
  MemoryPixelBuffer& buffer_;
  std::uint32_t state_ = 1;
};

}  // namespace

std::unique_ptr<MemoryPixelBuffer> desktopPicture(std::size_t width, std::size_t height) {
  auto picture = std::make_unique<MemoryPixelBuffer>(width, height);
  Painter painter(*picture);
  const Area document{40, 30, width / 2, height - 80};
  const Area console{width / 2 + 80, 60, width / 2 - 120, height - 160};
  painter.fill({0, 0, width, height}, background);
  painter.fill(document, paper);
  painter.text(document, [] { return ink; });
  painter.fill(console, terminal);
  painter.text(console, [&] { return inks[painter.below(inks.size())]; });
  return picture;
}

}  // namespace tarvinel
