#pragma once

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

}  // namespace tarvinel
