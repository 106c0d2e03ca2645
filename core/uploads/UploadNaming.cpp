#include "core/uploads/UploadNaming.h"

#include "core/support/ASCII.h"
#include "core/support/UnicodeText.h"

#include <unicode/uchar.h>
#include <unicode/unistr.h>

#include <fmt/format.h>
#include <fmt/ranges.h>

#include <algorithm>
#include <cstdint>

namespace tarvinel {

namespace {

constexpr std::uint32_t alphanumerics = U_GC_L_MASK | U_GC_M_MASK | U_GC_N_MASK;

bool isKept(UChar32 scalar, bool keepDot) {
  return (U_GET_GC_MASK(scalar) & alphanumerics) != 0 || scalar == '-' || scalar == '_' ||
         (keepDot && scalar == '.');
}

/// Keeps the permitted scalars, turns every white space into a space, and drops the rest.
std::string filtered(std::string_view utf8, bool keepDot) {
  const auto text =
      icu::UnicodeString::fromUTF8({utf8.data(), static_cast<std::int32_t>(utf8.size())});
  icu::UnicodeString kept;
  for (std::int32_t i = 0; i < text.length(); i = text.moveIndex32(i, 1)) {
    const UChar32 scalar = text.char32At(i);
    if (isKept(scalar, keepDot)) {
      kept.append(scalar);
    } else if (u_isUWhiteSpace(scalar)) {
      kept.append(UChar32{' '});
    }
  }
  std::string result;
  kept.toUTF8String(result);
  return result;
}

void collapseSpaces(std::string& text) {
  const auto bothSpaces = [](char a, char b) { return a == ' ' && b == ' '; };
  text.erase(std::unique(text.begin(), text.end(), bothSpaces), text.end());
}

/// Returns the last piece between slashes of either kind, or the text itself if it has none.
std::string_view lastPathComponent(std::string_view path) {
  constexpr std::string_view separators = "/\\";
  const auto last = path.find_last_not_of(separators);
  if (last == std::string_view::npos) return path;
  const auto separator = path.find_last_of(separators, last);
  const std::size_t first = separator == std::string_view::npos ? 0 : separator + 1;
  return path.substr(first, last - first + 1);
}

/// A name before and from the dot of its extension; the stem is all of it if it has no extension.
struct NameParts {
  std::string_view stem;
  std::string_view dotAndExtension;
};

NameParts partsOf(std::string_view name) {
  const std::string_view extension = UploadNaming::pathExtension(name);
  if (extension.empty()) return {name, {}};
  const std::size_t stemSize = name.size() - extension.size() - 1;
  return {name.substr(0, stemSize), name.substr(stemSize)};
}

/// Returns the name with its stem cut to the file system's limit, or "" if no character fits.
std::string fitted(std::string_view name) {
  if (name.size() <= UploadNaming::maxNameBytes) return std::string(name);
  const auto [stem, end] = partsOf(name);
  const std::string_view cut = firstCharactersWithin(stem, UploadNaming::maxNameBytes - end.size());
  return cut.empty() ? "" : std::string(cut).append(end);
}

}  // namespace

std::optional<std::string> UploadNaming::participantLabel(std::string_view name) {
  const auto label = sanitize(name, false, maxLabelCharacters);
  if (!label) return std::nullopt;
  const std::string_view cut = firstCharactersWithin(*label, maxLabelBytes);
  if (cut.empty()) return std::nullopt;
  return std::string(cut);
}

std::optional<std::string> UploadNaming::fileName(std::string_view name) {
  const auto cleaned = sanitize(lastPathComponent(name), true, maxFileCharacters);
  if (!cleaned || !isAllowedExtension(pathExtension(*cleaned))) return std::nullopt;
  const std::string file = fitted(*cleaned);
  if (file.empty()) return std::nullopt;
  return file;
}

std::optional<std::string> UploadNaming::sanitize(std::string_view text, bool keepDot,
                                                  std::size_t maxLength) {
  std::string clean = filtered(canonicallyComposed(text), keepDot);
  clean = canonicallyComposed(clean);  // what was dropped may have separated two scalars
  collapseSpaces(clean);
  std::string_view rest = trimmed(clean);
  if (keepDot) rest.remove_prefix(std::min(rest.find_first_not_of('.'), rest.size()));
  rest = firstCharacters(rest, maxLength);
  if (rest.empty()) return std::nullopt;
  return std::string(rest);
}

bool UploadNaming::isAllowedExtension(std::string_view extension) {
  return std::ranges::find(allowedExtensions, asciiLowercased(extension)) !=
         allowedExtensions.end();
}

std::string UploadNaming::listOfAllowedExtensions() {
  auto sorted = allowedExtensions;
  std::ranges::sort(sorted);
  return fmt::format("{}", fmt::join(sorted, ", "));
}

std::string_view UploadNaming::pathExtension(std::string_view name) {
  const auto dot = name.rfind('.');
  return dot == std::string_view::npos ? std::string_view{} : name.substr(dot + 1);
}

std::string UploadNaming::flatName(std::string_view label, std::string_view file) {
  return fitted(fmt::format("{}-{}", label, file));
}

std::string UploadNaming::collisionName(std::string_view name, int attempt) {
  if (attempt < 2) return std::string(name);
  const auto [stem, end] = partsOf(name);
  return fmt::format("{}-{}{}", stem, attempt, end);
}

std::string UploadNaming::partialName(std::string_view name) {
  return std::string(partialPrefix).append(name).append(partialSuffix);
}

bool UploadNaming::isPartialName(std::string_view name) {
  if (!name.starts_with(partialPrefix) || !name.ends_with(partialSuffix)) return false;
  if (name.size() <= partialPrefix.size() + partialSuffix.size()) return false;
  name.remove_prefix(partialPrefix.size());
  name.remove_suffix(partialSuffix.size());
  return !name.starts_with('.') && isAllowedExtension(pathExtension(name)) &&
         name.find("  ") == std::string_view::npos &&
         filtered(canonicallyComposed(name), true) == name;
}

}  // namespace tarvinel
