#include "core/http/BrandResponses.h"

#include "core/http/HTTPResponse.h"

namespace tarvinel {

namespace {

std::shared_ptr<const Bytes> respondWith(const std::optional<BrandConfig::Assets::File>& file) {
  if (!file) return nullptr;
  return std::make_shared<const Bytes>(HTTPResponse::file(file->bytes, file->contentType));
}

}  // namespace

BrandResponses BrandResponses::load(const std::optional<BrandConfig>& brand) {
  const auto assets = BrandConfig::Assets::load(brand);
  return {respondWith(assets.image), respondWith(assets.font)};
}

}  // namespace tarvinel
