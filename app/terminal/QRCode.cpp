#include "app/terminal/QRCode.h"

#include <qrencode.h>

#include <fmt/format.h>

#include <memory>

namespace tarvinel {

namespace {

constexpr int quietZone = 4;  // modules

// From the 6 × 6 × 6 colour cube, which themes do not change, unlike the basic sixteen colours.
constexpr int black = 16;
constexpr int white = 231;
constexpr std::string_view reset = "\x1b[0m";

using Code = std::unique_ptr<QRcode, decltype(&QRcode_free)>;

/// Returns null if the text is empty or too long.
Code encoded(std::string_view text) {
  // nothing covers or scratches a screen: the lowest error correction makes the smallest picture
  constexpr QRecLevel correction = QR_ECLEVEL_L;
  constexpr int minVersion = 0;
  const auto* bytes = reinterpret_cast<const unsigned char*>(text.data());
  return {QRcode_encodeData(static_cast<int>(text.size()), bytes, minVersion, correction),
          &QRcode_free};
}

/// Returns whether a module is dark; those outside the code are light.
bool isDark(const QRcode& code, int row, int column) {
  if (row < 0 || column < 0 || row >= code.width || column >= code.width) return false;
  return (code.data[row * code.width + column] & 1) != 0;
}

std::string inkedCell(bool upper, bool lower) {
  if (upper) return lower ? "█" : "▀";
  return lower ? "▄" : " ";
}

// Draws dark cells by the background colour, which fills a whole cell. With most fonts, block
// characters leave a light line between the rows, which confuses readers.
std::string colouredCell(bool upper, bool lower) {
  const int ground = upper ? black : white;
  if (upper == lower) return fmt::format("\x1b[48;5;{}m ", ground);
  return fmt::format("\x1b[38;5;{};48;5;{}m▄", lower ? black : white, ground);
}

std::string drawnLine(const QRcode& code, int upperRow, QRColours colours) {
  const bool inColours = colours == QRColours::terminal;
  std::string line;
  for (int column = -quietZone; column < code.width + quietZone; ++column) {
    const bool upper = isDark(code, upperRow, column);
    const bool lower = isDark(code, upperRow + 1, column);
    line += inColours ? colouredCell(upper, lower) : inkedCell(upper, lower);
  }
  if (inColours) line += reset;
  return line;
}

}  // namespace

std::vector<std::string> drawQRCode(std::string_view text, QRColours colours) {
  std::vector<std::string> lines;
  const Code code = encoded(text);
  if (!code) return lines;
  for (int row = -quietZone; row < code->width + quietZone; row += 2)
    lines.push_back(drawnLine(*code, row, colours));
  return lines;
}

}  // namespace tarvinel
