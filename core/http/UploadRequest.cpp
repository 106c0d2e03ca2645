#include "core/http/UploadRequest.h"

#include "core/uploads/UploadNaming.h"

#include <fmt/format.h>

#include <optional>

namespace tarvinel {

namespace {

constexpr std::string_view badRequest = "400 Bad Request";
constexpr std::int64_t gigabyte = 1073741824;

UploadRefusal refusalOfName(std::string_view filename) {
  const std::string_view extension = UploadNaming::pathExtension(filename);
  if (!extension.empty() && !UploadNaming::isAllowedExtension(extension)) {
    return {"415 Unsupported Media Type",
            "file type not accepted; allowed: " + UploadNaming::listOfAllowedExtensions()};
  }
  return {badRequest, "file name must contain letters or digits and an extension"};
}

std::optional<UploadRefusal> refusalOfSize(std::optional<std::int64_t> bytes,
                                           std::int64_t maxBytes) {
  if (!bytes) return UploadRefusal{"411 Length Required", "Content-Length required"};
  if (*bytes < 1) return UploadRefusal{badRequest, "empty file"};
  if (*bytes <= maxBytes) return std::nullopt;
  return UploadRefusal{"413 Payload Too Large",
                       fmt::format("files over {} GB are not accepted", maxBytes / gigabyte)};
}

}  // namespace

std::variant<UploadRequest, UploadRefusal> UploadRequest::check(std::string_view participant,
                                                                std::string_view filename,
                                                                const HTTPRequest& request,
                                                                std::int64_t maxBytes) {
  const auto label = UploadNaming::participantLabel(participant);
  if (!label) return UploadRefusal{badRequest, "name must contain letters or digits"};
  const auto file = UploadNaming::fileName(filename);
  if (!file) return refusalOfName(filename);
  const auto length = request.contentLength();
  if (const auto refusal = refusalOfSize(length, maxBytes)) return *refusal;
  return UploadRequest{*label, *file, *length};
}

}  // namespace tarvinel
