#include "core/support/ContentType.h"

#include "core/support/ASCII.h"

#include <array>
#include <string>
#include <utility>

namespace tarvinel {

std::optional<std::string_view> contentTypeForExtension(std::string_view extension) {
  using Entry = std::pair<std::string_view, std::string_view>;
  static constexpr std::array<Entry, 10> types{{{"png", "image/png"},
                                                {"jpg", "image/jpeg"},
                                                {"jpeg", "image/jpeg"},
                                                {"gif", "image/gif"},
                                                {"webp", "image/webp"},
                                                {"svg", "image/svg+xml"},
                                                {"woff2", "font/woff2"},
                                                {"woff", "font/woff"},
                                                {"ttf", "font/ttf"},
                                                {"otf", "font/otf"}}};
  const std::string lowered = asciiLowercased(extension);
  for (const auto& [known, type] : types) {
    if (known == lowered) return type;
  }
  return std::nullopt;
}

}  // namespace tarvinel
