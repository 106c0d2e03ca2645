#include "core/config/BrandConfig.h"
#include "core/support/ApplicationSupport.h"
#include "core/support/ContentType.h"
#include "core/support/RegularFile.h"

#include <filesystem>

namespace tarvinel {

namespace {

std::optional<std::string_view> contentTypeOf(const std::filesystem::path& file) {
  const std::string extension = file.extension();
  if (extension.empty()) return std::nullopt;
  return contentTypeForExtension(std::string_view(extension).substr(1));
}

std::optional<BrandConfig::Assets::File> readAsset(const std::optional<std::string>& path) {
  if (!path) return std::nullopt;
  const std::filesystem::path file = expandingTilde(*path);
  const auto contentType = contentTypeOf(file);
  if (!contentType) return std::nullopt;
  try {
    return BrandConfig::Assets::File{readRegularFile(file, BrandConfig::Assets::maxBytes),
                                     std::string(*contentType)};
  } catch (const FileReadError&) {
    return std::nullopt;
  }
}

}  // namespace

BrandConfig::Assets BrandConfig::Assets::load(const std::optional<BrandConfig>& brand) {
  if (!brand) return none();
  return {readAsset(brand->image), readAsset(brand->font)};
}

}  // namespace tarvinel
