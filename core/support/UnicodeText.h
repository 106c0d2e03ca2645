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

  /// The order of the user's locale, from LC_ALL, LC_COLLATE or LANG.
  static Collation ofUser();

  /// Negative, zero or positive as `a` comes before, beside or after `b`. Both are UTF-8; what is
  /// not counts as replacement characters.
  int compare(std::string_view a, std::string_view b) const;

 private:
  struct Collator;
  std::unique_ptr<const Collator> collator_;
};

/// True when the text is well-formed UTF-8 (RFC 3629: no surrogates, no overlong forms).
bool isValidUTF8(std::string_view text);

/// With every control character of a well-formed text (C0, DEL and C1) as an escape such as \x1b,
/// and a backslash as two: a text from elsewhere can then neither begin a line of a log nor do
/// anything to the terminal that shows it.
std::string withEscapedControls(std::string_view text);

/// A UTF-8 text as ICU takes it: a view of the first 2 GiB.
inline icu::StringPiece icuPiece(std::string_view text) {
  return {text.data(), static_cast<std::int32_t>(std::min<std::size_t>(text.size(), INT32_MAX))};
}

/// The canonical composed form (NFC, UAX #15). What is not UTF-8 becomes replacement characters.
std::string canonicallyComposed(std::string_view text);

/// The first `count` characters as a reader counts them (extended grapheme clusters, UAX #29); all
/// of the text when it has no more.
std::string_view firstCharacters(std::string_view text, std::size_t count);

/// As many whole characters from the start of the text as fit into `maxBytes`.
std::string_view firstCharactersWithin(std::string_view text, std::size_t maxBytes);

}  // namespace tarvinel
