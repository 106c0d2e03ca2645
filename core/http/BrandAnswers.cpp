#include "core/http/BrandAnswers.h"

#include "core/http/HTTPResponse.h"

namespace tarvinel {

namespace {

std::shared_ptr<const Bytes> answerWith(const std::optional<BrandConfig::Assets::File>& file) {
  if (!file) return nullptr;
  return std::make_shared<const Bytes>(HTTPResponse::file(file->bytes, file->contentType));
}

}  // namespace

BrandAnswers BrandAnswers::load(const std::optional<BrandConfig>& brand) {
  const auto assets = BrandConfig::Assets::load(brand);
  return {answerWith(assets.image), answerWith(assets.font)};
}

}  // namespace tarvinel
