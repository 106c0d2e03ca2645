#include "core/support/UnicodeText.h"

#include "core/support/FatalError.h"

#include <unicode/brkiter.h>
#include <unicode/coll.h>
#include <unicode/locid.h>
#include <unicode/normalizer2.h>
#include <unicode/unistr.h>
#include <unicode/ustring.h>
#include <unicode/utext.h>

#include <fmt/format.h>

#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <limits>
#include <memory>
#include <optional>
#include <utility>

namespace tarvinel {

namespace {

void require(UErrorCode status, std::string_view what) {
  if (U_FAILURE(status)) fatalError(what);
}

/// The boundaries between characters in a text, as byte offsets, in order.
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

  /// Returns the next boundary, or nullopt after the end of the text.
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

namespace {

constexpr unsigned char leadOfC1 = 0xC2;  // C1 is U+0080 to U+009F: this byte and one to 0x9F

bool isC1(std::string_view text, std::size_t at) {
  return static_cast<unsigned char>(text[at]) == leadOfC1 && at + 1 < text.size() &&
         static_cast<unsigned char>(text[at + 1]) < 0xA0;
}

bool isASCIIControl(char c) {
  return (c >= 0 && c < ' ') || c == '\x7f';
}

}  // namespace

bool isValidUTF8(std::string_view text) {
  if (text.size() > std::numeric_limits<std::int32_t>::max()) return false;
  UErrorCode outcome = U_ZERO_ERROR;
  std::int32_t length = 0;
  // a conversion into an empty buffer reads everything and rejects malformed text
  u_strFromUTF8(nullptr, 0, &length, text.data(), static_cast<std::int32_t>(text.size()), &outcome);
  return outcome != U_INVALID_CHAR_FOUND;
}

std::string withEscapedControls(std::string_view text) {
  std::string shown;
  for (std::size_t at = 0; at < text.size(); ++at) {
    if (isC1(text, at)) {
      shown += fmt::format("\\u{:04x}", static_cast<unsigned char>(text[++at]));
    } else if (isASCIIControl(text[at])) {
      shown += fmt::format("\\x{:02x}", text[at]);
    } else {
      shown.append(text[at] == '\\' ? 2 : 1, text[at]);
    }
  }
  return shown;
}

struct Collation::Collator {
  explicit Collator(std::unique_ptr<const icu::Collator> its) : rules(std::move(its)) {}

  std::unique_ptr<const icu::Collator> rules;
};

namespace {

std::string userLocaleName() {
  for (const char* variable : {"LC_ALL", "LC_COLLATE", "LANG"}) {
    const char* value = std::getenv(variable);
    if (value != nullptr && *value != '\0') return value;
  }
  return {};
}

icu::Locale localeOf(const std::string& name) {
  const std::string language = name.substr(0, name.find_first_of(".@"));
  if (language.empty() || language == "C" || language == "POSIX") return icu::Locale::getRoot();
  const icu::Locale locale = icu::Locale::createCanonical(name.c_str());
  return locale.isBogus() ? icu::Locale::getRoot() : locale;
}

std::unique_ptr<const icu::Collator> rulesOf(const icu::Locale& locale) {
  UErrorCode status = U_ZERO_ERROR;
  std::unique_ptr<icu::Collator> rules(icu::Collator::createInstance(locale, status));
  if (U_FAILURE(status)) fatalError("collation data missing");
  rules->setStrength(icu::Collator::SECONDARY);
  rules->setAttribute(UCOL_NUMERIC_COLLATION, UCOL_ON, status);
  if (U_FAILURE(status)) fatalError("numeric collation missing");
  return rules;
}

}  // namespace

Collation::Collation(const std::string& localeName)
    : collator_(std::make_unique<const Collator>(rulesOf(localeOf(localeName)))) {}

Collation::~Collation() = default;

Collation Collation::ofUser() {
  return Collation(userLocaleName());
}

int Collation::compare(std::string_view a, std::string_view b) const {
  UErrorCode status = U_ZERO_ERROR;
  return collator_->rules->compareUTF8(icuPiece(a), icuPiece(b), status);
}

}  // namespace tarvinel
