#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace tarvinel {

/// How a QR code is drawn.
enum class QRColours : std::uint8_t {
  /// Black on white by escape sequences, whatever the terminal's own colours are.
  terminal,
  /// Without escape sequences, which a file or another program would not understand: dark modules
  /// are ink, so that it is right on a light ground. Most readers take the opposite as well.
  none,
};

/// The QR code of a text (ISO/IEC 18004), drawn in half blocks, two rows of modules to a line, with
/// the quiet zone of four modules that readers need around it. Empty when the text is empty or too
/// long. Pure.
std::vector<std::string> drawQRCode(std::string_view text, QRColours colours);

}  // namespace tarvinel
