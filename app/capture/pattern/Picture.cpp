#include "app/capture/pattern/Picture.h"

#include <algorithm>
#include <array>
#include <cassert>
#include <string>

namespace tarvinel::pattern {

namespace {

using Colour = std::uint32_t;  // 0xRRGGBB

constexpr int density = Picture::density;

struct Box {  // points
  int x = 0;
  int y = 0;
  int width = 0;
  int height = 0;

  Rect rect() const {
    return {static_cast<double>(x), static_cast<double>(y), static_cast<double>(width),
            static_cast<double>(height)};
  }
};

constexpr Colour background = 0x18202C;
constexpr Colour ink = 0xF4F4F4;
constexpr Colour ballColour = 0xFFB000;
constexpr std::array<Colour, 8> barColours{0xFFFFFF, 0xFFFF00, 0x00FFFF, 0x00FF00,
                                           0xFF00FF, 0xFF0000, 0x0000FF, 0x000000};
// lengths are points
constexpr int barHeight = 240;
constexpr int ballSize = 96;
constexpr int laneTop = 312;
constexpr int ballStride = 16;  ///< per step
constexpr int glyphScale = 12;
constexpr int glyphAdvance = (glyphWidth + 1) * glyphScale;
constexpr int textLeft = 100;
constexpr int textTop = 520;
constexpr std::size_t counterDigits = 6;
constexpr std::int64_t counterLimit = 1000000;
constexpr std::string_view caption = "STEP ";

void setPixel(MemoryPixelBuffer& buffer, int x, int y, Colour colour) {
  std::uint8_t* pixel = buffer.pixels() + static_cast<std::size_t>(y) * buffer.bytesPerRow() +
                        static_cast<std::size_t>(x) * 4;
  pixel[0] = static_cast<std::uint8_t>(colour);
  pixel[1] = static_cast<std::uint8_t>(colour >> 8U);
  pixel[2] = static_cast<std::uint8_t>(colour >> 16U);
  pixel[3] = 0xFF;
}

void fill(MemoryPixelBuffer& buffer, const Box& box, Colour colour) {
  for (int y = box.y * density; y < (box.y + box.height) * density; ++y) {
    for (int x = box.x * density; x < (box.x + box.width) * density; ++x)
      setPixel(buffer, x, y, colour);
  }
}

void drawBars(MemoryPixelBuffer& buffer) {
  constexpr int barWidth = Picture::width / static_cast<int>(barColours.size());
  int left = 0;
  for (const Colour colour : barColours) {
    fill(buffer, {left, 0, barWidth, barHeight}, colour);
    left += barWidth;
  }
}

/// The ball moves to the right end and back.
Box ballBox(std::int64_t step) {
  constexpr int stops = (Picture::width - ballSize) / ballStride;
  const auto phase = static_cast<int>(step % (std::int64_t{2} * stops));
  return {std::min(phase, 2 * stops - phase) * ballStride, laneTop, ballSize, ballSize};
}

void drawBall(MemoryPixelBuffer& buffer, std::int64_t step) {
  constexpr int size = ballSize * density;
  const Box box = ballBox(step);
  for (int y = 0; y < size; ++y) {
    for (int x = 0; x < size; ++x) {
      // distances from the middle, doubled so that they are whole numbers
      const int right = 2 * x + 1 - size;
      const int down = 2 * y + 1 - size;
      if (right * right + down * down <= size * size) {
        setPixel(buffer, box.x * density + x, box.y * density + y, ballColour);
      }
    }
  }
}

Box glyphBox(std::size_t position) {
  return {textLeft + static_cast<int>(position) * glyphAdvance, textTop, glyphWidth * glyphScale,
          glyphHeight * glyphScale};
}

void drawGlyph(MemoryPixelBuffer& buffer, std::size_t position, char character) {
  const Glyph glyph = patternGlyph(character);
  const Box box = glyphBox(position);
  for (int row = 0; row < glyphHeight; ++row) {
    for (int column = 0; column < glyphWidth; ++column) {
      const auto bits = static_cast<unsigned>(glyph[static_cast<std::size_t>(row)]);
      const bool set = (bits >> static_cast<unsigned>(glyphWidth - 1 - column) & 1U) != 0;
      fill(buffer, {box.x + column * glyphScale, box.y + row * glyphScale, glyphScale, glyphScale},
           set ? ink : background);
    }
  }
}

std::string counterText(std::int64_t step) {
  const std::string number = std::to_string(step % counterLimit);
  return std::string(caption) + std::string(counterDigits - number.size(), '0') + number;
}

/// Repaints the characters that differ and adds their boxes.
void redrawCounter(MemoryPixelBuffer& buffer, std::int64_t from, std::int64_t to,
                   std::vector<Rect>& changed) {
  const std::string before = counterText(from);
  const std::string after = counterText(to);
  for (std::size_t i = 0; i < after.size(); ++i) {
    if (before[i] == after[i]) continue;
    drawGlyph(buffer, i, after[i]);
    changed.push_back(glyphBox(i).rect());
  }
}

void redrawBall(MemoryPixelBuffer& buffer, std::int64_t from, std::int64_t to,
                std::vector<Rect>& changed) {
  const Box before = ballBox(from);
  const Box after = ballBox(to);
  if (before.x == after.x) return;
  fill(buffer, before, background);
  drawBall(buffer, to);
  const int left = std::min(before.x, after.x);
  const int right = std::max(before.x, after.x) + ballSize;
  if (right - left < 2 * ballSize) {
    changed.push_back(Box{left, laneTop, right - left, ballSize}.rect());
  } else {
    changed.push_back(before.rect());
    changed.push_back(after.rect());
  }
}

void assertFits([[maybe_unused]] const MemoryPixelBuffer& buffer) {
  assert(buffer.width() == Picture::pixelWidth && buffer.height() == Picture::pixelHeight);
}

}  // namespace

void Picture::draw(MemoryPixelBuffer& buffer, std::int64_t step) {
  assertFits(buffer);
  fill(buffer, {0, barHeight, width, height - barHeight}, background);
  drawBars(buffer);
  drawBall(buffer, step);
  const std::string text = counterText(step);
  for (std::size_t i = 0; i < text.size(); ++i)
    drawGlyph(buffer, i, text[i]);
}

std::vector<Rect> Picture::redraw(MemoryPixelBuffer& buffer, std::int64_t from, std::int64_t to) {
  assertFits(buffer);
  std::vector<Rect> changed;
  redrawBall(buffer, from, to, changed);
  redrawCounter(buffer, from, to, changed);
  return changed;
}

namespace {

constexpr std::array<Glyph, 10> digits{{
    {0b01110, 0b10001, 0b10011, 0b10101, 0b11001, 0b10001, 0b01110},
    {0b00100, 0b01100, 0b00100, 0b00100, 0b00100, 0b00100, 0b01110},
    {0b01110, 0b10001, 0b00001, 0b00010, 0b00100, 0b01000, 0b11111},
    {0b11111, 0b00010, 0b00100, 0b00010, 0b00001, 0b10001, 0b01110},
    {0b00010, 0b00110, 0b01010, 0b10010, 0b11111, 0b00010, 0b00010},
    {0b11111, 0b10000, 0b11110, 0b00001, 0b00001, 0b10001, 0b01110},
    {0b00110, 0b01000, 0b10000, 0b11110, 0b10001, 0b10001, 0b01110},
    {0b11111, 0b00001, 0b00010, 0b00100, 0b01000, 0b01000, 0b01000},
    {0b01110, 0b10001, 0b10001, 0b01110, 0b10001, 0b10001, 0b01110},
    {0b01110, 0b10001, 0b10001, 0b01111, 0b00001, 0b00010, 0b01100},
}};

}  // namespace

Glyph patternGlyph(char character) {
  if (character >= '0' && character <= '9')
    return digits[static_cast<std::size_t>(character - '0')];
  switch (character) {
    case 'E':
      return {0b11111, 0b10000, 0b10000, 0b11110, 0b10000, 0b10000, 0b11111};
    case 'P':
      return {0b11110, 0b10001, 0b10001, 0b11110, 0b10000, 0b10000, 0b10000};
    case 'S':
      return {0b01111, 0b10000, 0b10000, 0b01110, 0b00001, 0b00001, 0b11110};
    case 'T':
      return {0b11111, 0b00100, 0b00100, 0b00100, 0b00100, 0b00100, 0b00100};
    default:
      return {};
  }
}

}  // namespace tarvinel::pattern
