#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace tarvinel {

/// How a QR code is drawn.
enum class QRColours : std::uint8_t {
  /// Black on white by escape sequences, independent of the terminal's own colours.
  terminal,
  /// Without escape sequences, which a file or another program would not interpret: dark modules
  /// are printed, so that the code is right on a light background. Most readers accept the inverse.
  none,
};

/// Returns the lines of a text's QR code (ISO/IEC 18004), drawn in half blocks, two rows of modules
/// to a line, with the quiet zone of four modules that readers require. Returns no lines if the
/// text is empty or too long. Pure.
std::vector<std::string> drawQRCode(std::string_view text, QRColours colours);

}  // namespace tarvinel
