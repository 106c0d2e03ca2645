#include "core/support/FatalError.h"
#include "core/support/UnicodeText.h"
#include "core/uploads/UploadNaming.h"

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

// Checks that names of participants and files are safe on disk, whatever a browser sends.

namespace tarvinel {
namespace {

constexpr std::size_t fileSystemNameBytes = 255;

void require(bool holds, std::string_view what) {
  if (!holds) fatalError(what);
}

bool hasControl(std::string_view text) {
  for (const char character : text) {
    const auto byte = static_cast<unsigned char>(character);
    if (byte < 0x20 || byte == 0x7F) return true;
  }
  return false;
}

void requireSafe(const std::string& name, std::size_t maxCharacters) {
  require(!name.empty(), "empty");
  require(isValidUTF8(name), "not UTF-8");
  require(name.find_first_of("/\\:*?\"<>|") == std::string::npos, "a separator");
  require(!hasControl(name), "a control character");
  require(name.find("  ") == std::string::npos, "two spaces");
  require(canonicallyComposed(name) == name, "not composed");
  require(firstCharacters(name, maxCharacters) == name, "too many characters");
}

void requireSafeLabel(const std::string& label) {
  requireSafe(label, UploadNaming::maxLabelCharacters);
  require(label.find('.') == std::string::npos, "a dot in a label");
  require(label.size() <= UploadNaming::maxLabelBytes, "a label too long in bytes");
  const auto again = UploadNaming::participantLabel(label);
  require(!again || label.starts_with(*again), "a label that changes beyond its end");
}

void requireSafeFile(const std::string& file) {
  requireSafe(file, UploadNaming::maxFileCharacters);
  require(!file.starts_with('.'), "a leading dot");
  require(UploadNaming::isAllowedExtension(UploadNaming::pathExtension(file)), "another type");
}

void requireFits(const std::string& name) {
  for (const int attempt : {1, 2, UploadNaming::maxAttempts}) {
    const std::string tried = UploadNaming::collisionName(name, attempt);
    const std::string partial = UploadNaming::partialName(tried);
    require(partial.size() <= fileSystemNameBytes, "too long for the file system");
    require(UploadNaming::isPartialName(partial), "a partial file that is not known again");
    require(UploadNaming::isAllowedExtension(UploadNaming::pathExtension(tried)),
            "an extension that was lost");
  }
}

void check(std::string_view participant, std::string_view filename) {
  const auto label = UploadNaming::participantLabel(participant);
  const auto file = UploadNaming::fileName(filename);
  if (label) requireSafeLabel(*label);
  if (file) {
    requireSafeFile(*file);
    requireFits(*file);
  }
  if (label && file) {
    const std::string flat = UploadNaming::flatName(*label, *file);
    const std::size_t stemSize = flat.size() - UploadNaming::pathExtension(flat).size() - 1;
    require((*label + "-" + *file).starts_with(flat.substr(0, stemSize)), "another flat name");
    requireSafe(flat, flat.size());
    requireFits(flat);
  }
}

}  // namespace
}  // namespace tarvinel

/// Takes the participant's name from the first line and the file's from the rest.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const std::string_view text(reinterpret_cast<const char*>(data), size);
  const auto lineEnd = text.find('\n');
  const std::string_view filename =
      lineEnd == std::string_view::npos ? text : text.substr(lineEnd + 1);
  tarvinel::check(text.substr(0, lineEnd), filename);
  return 0;
}
