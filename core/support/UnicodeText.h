#pragma once

#include <cstddef>
#include <string>
#include <string_view>

namespace tarvinel {

/// The canonical composed form (NFC, UAX #15). What is not UTF-8 becomes replacement characters.
std::string canonicallyComposed(std::string_view text);

/// The first `count` characters as a reader counts them (extended grapheme clusters, UAX #29); all
/// of the text when it has no more.
std::string_view firstCharacters(std::string_view text, std::size_t count);

/// As many whole characters from the start of the text as fit into `maxBytes`.
std::string_view firstCharactersWithin(std::string_view text, std::size_t maxBytes);

}  // namespace tarvinel
