#pragma once

#include <unicode/stringpiece.h>

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <string_view>

namespace tarvinel {

/// The order in which people expect names in a list: by the rules of a language, upper and lower
/// case alike, runs of digits by their value ("Window 2" before "Window 10"). Immutable; safe from
/// any thread.
class Collation {
 public:
  /// Takes a locale name as the environment spells it, such as "de_DE.UTF-8". Unknown names and the
  /// C and POSIX locales, whose order is that of the bytes, get the language-neutral order.
  explicit Collation(const std::string& localeName);
  ~Collation();
  Collation(const Collation&) = delete;
  Collation& operator=(const Collation&) = delete;

  /// Returns the order of the user's locale, from LC_ALL, LC_COLLATE or LANG.
  static Collation ofUser();

  /// Returns a negative number, zero or a positive number if `a` sorts before, equal to or after
  /// `b`. Both are UTF-8; malformed parts count as replacement characters.
  int compare(std::string_view a, std::string_view b) const;

 private:
  struct Collator;
  std::unique_ptr<const Collator> collator_;
};

/// Returns whether the text is well-formed UTF-8 (RFC 3629: no surrogates, no overlong forms).
bool isValidUTF8(std::string_view text);

/// Replaces every control character of a well-formed text (C0, DEL and C1) by an escape such as
/// \x1b, and a backslash by two: an external text can then neither begin a line of a log nor
/// control the terminal that shows it.
std::string withEscapedControls(std::string_view text);

/// Returns a UTF-8 text in ICU's form: a view of the first 2 GiB.
inline icu::StringPiece icuPiece(std::string_view text) {
  return {text.data(), static_cast<std::int32_t>(std::min<std::size_t>(text.size(), INT32_MAX))};
}

/// Returns the canonical composition (NFC, UAX #15). Malformed UTF-8 becomes U+FFFD.
std::string canonicallyComposed(std::string_view text);

/// Returns the first `count` characters as a reader counts them (extended grapheme clusters, UAX
/// #29), or the whole text if it has no more.
std::string_view firstCharacters(std::string_view text, std::size_t count);

/// Returns as many whole characters from the start of the text as fit into `maxBytes`.
std::string_view firstCharactersWithin(std::string_view text, std::size_t maxBytes);

}  // namespace tarvinel
