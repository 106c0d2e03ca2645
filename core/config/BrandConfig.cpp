#include "core/config/BrandConfig.h"

#include "core/support/ApplicationSupport.h"

#include <algorithm>

namespace tarvinel {

namespace {

bool isHexadecimal(char c) {
  return (c >= '0' && c <= '9') || (c >= 'A' && c <= 'F') || (c >= 'a' && c <= 'f');
}

}  // namespace

bool BrandConfig::isValidColor(std::string_view color) {
  return color.size() == 7 && color.front() == '#' &&
         std::ranges::all_of(color.substr(1), isHexadecimal);
}

BrandConfig BrandConfig::expandingPaths() const {
  BrandConfig expanded = *this;
  if (image) expanded.image = expandingTilde(*image);
  if (font) expanded.font = expandingTilde(*font);
  return expanded;
}

}  // namespace tarvinel
