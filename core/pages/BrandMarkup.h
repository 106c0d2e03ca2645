#pragma once

#include "core/config/BrandConfig.h"

#include <initializer_list>
#include <optional>
#include <string>
#include <string_view>
#include <utility>

namespace tarvinel {

/// Replaces every "{{name}}" of a page template by the value given for it. Values are inserted as
/// they are and not searched again. A name without a value stops the program: templates are built
/// in.
std::string filledTemplate(
    std::string_view page,
    std::initializer_list<std::pair<std::string_view, std::string_view>> values);

/// What the brand puts into the pages. Looks at the configuration alone: a file that cannot be read
/// leaves a reference behind that is not found. Everything returned may be inserted as it is.
/// Static and pure.
class BrandMarkup {
 public:
  BrandMarkup() = delete;

  /// The brand's name, or the product's, for content and quoted attributes.
  static std::string displayName(const std::optional<BrandConfig>& brand);

  /// The rule that loads the brand's font, to stand at the start of a style sheet; empty without
  /// one.
  static std::string_view fontFace(const std::optional<BrandConfig>& brand);

  /// The list of font families of a page's texts.
  static std::string_view fontFamily(const std::optional<BrandConfig>& brand);

  /// The brand's logo; empty without one.
  static std::string_view logo(const std::optional<BrandConfig>& brand);

  /// A line with the logo, or else with the brand's own name in the block that `nameTag` opens;
  /// empty without either.
  static std::string logoOrName(const std::optional<BrandConfig>& brand, std::string_view nameTag);
};

}  // namespace tarvinel
