#include "app/capture/x11/windows/WindowTitle.h"

#include "core/support/ICUText.h"
#include "core/support/UnicodeText.h"

#include <unicode/uchar.h>
#include <unicode/ucnv.h>
#include <unicode/unistr.h>

#include <algorithm>
#include <memory>

namespace tarvinel::x11 {

namespace {

constexpr std::size_t mostCharacters = 200;

struct CloseConverter {
  void operator()(UConverter* converter) const { ucnv_close(converter); }
};

icu::UnicodeString converted(std::string_view bytes, const char* converterName) {
  UErrorCode status = U_ZERO_ERROR;
  const std::unique_ptr<UConverter, CloseConverter> converter(ucnv_open(converterName, &status));
  if (U_FAILURE(status)) return {};
  return {bytes.data(), static_cast<std::int32_t>(bytes.size()), converter.get(), status};
}

/// Takes off and returns what comes before a mark; all of it, when there is none.
std::string_view takeUpTo(std::string_view& bytes, std::string_view mark) {
  const std::string_view before = bytes.substr(0, bytes.find(mark));
  bytes.remove_prefix(std::min(before.size() + mark.size(), bytes.size()));
  return before;
}

/// The converter does not know the parts in UTF-8 that newer programs put in.
icu::UnicodeString decodedCompound(std::string_view bytes) {
  icu::UnicodeString text;
  while (!bytes.empty()) {
    text += converted(takeUpTo(bytes, "\x1B%G"), "x11-compound-text");
    text += icu::UnicodeString::fromUTF8(icuPiece(takeUpTo(bytes, "\x1B%@")));
  }
  return text;
}

icu::UnicodeString decoded(std::string_view bytes, TitleEncoding encoding) {
  switch (encoding) {
    case TitleEncoding::latin1:
      return converted(bytes, "ISO-8859-1");
    case TitleEncoding::compound:
      return decodedCompound(bytes);
    case TitleEncoding::utf8:
      break;
  }
  return icu::UnicodeString::fromUTF8(icuPiece(bytes));
}

bool isBlank(UChar32 character) {
  return u_isUWhiteSpace(character) != 0 || u_isISOControl(character) != 0;
}

bool turnsDirection(UChar32 character) {
  return u_hasBinaryProperty(character, UCHAR_BIDI_CONTROL) != 0;
}

/// Blanks and control characters become one space each run, at the ends none.
icu::UnicodeString inOneLine(const icu::UnicodeString& text) {
  icu::UnicodeString line;
  bool isBlankPending = false;
  for (std::int32_t i = 0; i < text.length(); i = text.moveIndex32(i, 1)) {
    const UChar32 character = text.char32At(i);
    if (turnsDirection(character)) continue;
    if (isBlank(character)) {
      isBlankPending = !line.isEmpty();
      continue;
    }
    if (isBlankPending) line.append(u' ');
    isBlankPending = false;
    line.append(character);
  }
  return line;
}

}  // namespace

std::string windowTitle(std::string_view bytes, TitleEncoding encoding) {
  std::string line;
  inOneLine(decoded(bytes, encoding)).toUTF8String(line);
  const std::string_view shown = firstCharacters(line, mostCharacters);
  return shown.size() == line.size() ? line : std::string(shown).append("…");
}

}  // namespace tarvinel::x11
