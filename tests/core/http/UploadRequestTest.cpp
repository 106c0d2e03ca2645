#include "core/http/UploadTransfer.h"

#include <gtest/gtest.h>

#include <optional>
#include <string>

namespace tarvinel {
namespace {

constexpr std::int64_t twoGigabytes = 2147483648;

std::variant<UploadRequest, UploadRefusal> checked(std::string_view participant,
                                                   std::string_view filename,
                                                   const std::optional<std::string>& length,
                                                   std::int64_t maxBytes = twoGigabytes) {
  HTTPRequest request;
  if (length) request.headers["content-length"] = *length;
  return UploadRequest::check(participant, filename, request, maxBytes);
}

UploadRefusal refusal(std::string_view participant, std::string_view filename,
                      const std::optional<std::string>& length) {
  return std::get<UploadRefusal>(checked(participant, filename, length));
}

TEST(UploadRequest, ARequestInOrderIsCleanedUp) {
  const auto request = std::get<UploadRequest>(checked(" Ann  Lee", "C:\\IMG 1.jpg", "2147483648"));
  EXPECT_EQ(request.label, "Ann Lee");
  EXPECT_EQ(request.filename, "IMG 1.jpg");
  EXPECT_EQ(request.declaredBytes, twoGigabytes);
}

TEST(UploadRequest, TheNameIsCheckedFirst) {
  EXPECT_EQ(refusal("!!!", "clip.mov", std::nullopt),
            (UploadRefusal{"400 Bad Request", "name must contain letters or digits"}));
}

TEST(UploadRequest, ThenTheType) {
  const UploadRefusal wrongType{
      "415 Unsupported Media Type",
      "file type not accepted; allowed: 3fr, arw, cr2, cr3, dng, fff, heic, heif, iiq, jpeg, jpg, "
      "nef, nrw, orf, pef, png, raf, rw2, srw, tif, tiff, x3f"};
  EXPECT_EQ(refusal("Sam", "clip.mov", std::nullopt), wrongType);
  EXPECT_EQ(refusal("Sam", "photo.webp", "0"), wrongType);
}

TEST(UploadRequest, ThenTheFileName) {
  const UploadRefusal wrongName{"400 Bad Request",
                                "file name must contain letters or digits and an extension"};
  for (const char* name : {"README", "photo.", ".jpg", "!!!.jpg", "/"}) {
    EXPECT_EQ(refusal("Sam", name, std::nullopt), wrongName) << name;
  }
}

TEST(UploadRequest, ThenTheLength) {
  EXPECT_EQ(refusal("Sam", "a.jpg", std::nullopt),
            (UploadRefusal{"411 Length Required", "Content-Length required"}));
  EXPECT_EQ(refusal("Sam", "a.jpg", "-1"),
            (UploadRefusal{"411 Length Required", "Content-Length required"}));
  EXPECT_EQ(refusal("Sam", "a.jpg", "0"), (UploadRefusal{"400 Bad Request", "empty file"}));
  EXPECT_EQ(refusal("Sam", "a.jpg", "2147483649"),
            (UploadRefusal{"413 Payload Too Large", "files over 2 GB are not accepted"}));
  EXPECT_EQ(std::get<UploadRefusal>(checked("Sam", "a.jpg", "11", 10)).message,
            "files over 0 GB are not accepted");
}

}  // namespace
}  // namespace tarvinel
