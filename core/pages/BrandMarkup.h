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

/// The brand's parts of the pages. Uses the configuration alone: a file that cannot be read leaves
/// a broken reference. Everything returned can be inserted as it is. Static and pure.
class BrandMarkup {
 public:
  BrandMarkup() = delete;

  /// Returns the brand's or else the product's name, for content and quoted attributes.
  static std::string displayName(const std::optional<BrandConfig>& brand);

  /// Returns the rule that loads the brand's font, for the start of a style sheet, or "" without a
  /// font.
  static std::string_view fontFace(const std::optional<BrandConfig>& brand);

  /// Returns the list of font families of a page's texts.
  static std::string_view fontFamily(const std::optional<BrandConfig>& brand);

  /// Returns the brand's logo, or "" without one.
  static std::string_view logo(const std::optional<BrandConfig>& brand);

  /// Returns a line with the logo, or else with the brand's own name in the block that `nameTag`
  /// opens, or "" without either.
  static std::string logoOrName(const std::optional<BrandConfig>& brand, std::string_view nameTag);
};

}  // namespace tarvinel
