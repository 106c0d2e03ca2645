#include "core/support/UnicodeText.h"

#include "core/support/FatalError.h"
#include "core/support/ICUText.h"

#include <unicode/brkiter.h>
#include <unicode/locid.h>
#include <unicode/normalizer2.h>
#include <unicode/unistr.h>
#include <unicode/utext.h>

#include <cstdint>
#include <memory>
#include <optional>

namespace tarvinel {

namespace {

void require(UErrorCode status, std::string_view what) {
  if (U_FAILURE(status)) fatalError(what);
}

/// The places between characters in a text, as byte offsets, in order.
class CharacterBoundaries {
 public:
  explicit CharacterBoundaries(std::string_view text) {
    UErrorCode status = U_ZERO_ERROR;
    breaks_.reset(icu::BreakIterator::createCharacterInstance(icu::Locale::getRoot(), status));
    require(status, "the rules of grapheme clusters are missing");
    utext_openUTF8(&text_, text.data(), static_cast<std::int64_t>(text.size()), &status);
    breaks_->setText(&text_, status);
    require(status, "text cannot be cut into characters");
  }
  ~CharacterBoundaries() { utext_close(&text_); }
  CharacterBoundaries(const CharacterBoundaries&) = delete;
  CharacterBoundaries& operator=(const CharacterBoundaries&) = delete;

  /// The next one; nothing after the end of the text.
  std::optional<std::size_t> next() {
    const std::int32_t offset = breaks_->next();
    if (offset == icu::BreakIterator::DONE) return std::nullopt;
    return static_cast<std::size_t>(offset);
  }

 private:
  UText text_ = UTEXT_INITIALIZER;
  std::unique_ptr<icu::BreakIterator> breaks_;
};

}  // namespace

std::string canonicallyComposed(std::string_view text) {
  UErrorCode status = U_ZERO_ERROR;
  const icu::Normalizer2* composer = icu::Normalizer2::getNFCInstance(status);
  require(status, "the rules of canonical composition are missing");
  const icu::UnicodeString composed =
      composer->normalize(icu::UnicodeString::fromUTF8(icuPiece(text)), status);
  require(status, "text cannot be composed");
  std::string utf8;
  composed.toUTF8String(utf8);
  return utf8;
}

std::string_view firstCharacters(std::string_view text, std::size_t count) {
  CharacterBoundaries boundaries(text);
  std::size_t end = 0;
  for (std::size_t taken = 0; taken < count; ++taken) {
    const auto boundary = boundaries.next();
    if (!boundary) break;
    end = *boundary;
  }
  return text.substr(0, end);
}

std::string_view firstCharactersWithin(std::string_view text, std::size_t maxBytes) {
  if (text.size() <= maxBytes) return text;
  CharacterBoundaries boundaries(text);
  std::size_t end = 0;
  for (auto boundary = boundaries.next(); boundary && *boundary <= maxBytes;
       boundary = boundaries.next()) {
    end = *boundary;
  }
  return text.substr(0, end);
}

}  // namespace tarvinel
