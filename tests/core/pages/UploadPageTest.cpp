#include "core/pages/UploadPage.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace tarvinel {
namespace {

using testing::EndsWith;
using testing::HasSubstr;
using testing::Not;
using testing::StartsWith;

TEST(UploadPage, BeginsWithItsPolicyAndTitle) {
  EXPECT_THAT(
      UploadPage::html(),
      StartsWith("<!DOCTYPE html>\n<html lang=\"en\">\n<head>\n<meta charset=\"utf-8\">\n"
                 "<meta name=\"viewport\" content=\"width=device-width, initial-scale=1\">\n"
                 "<meta http-equiv=\"Content-Security-Policy\" content=\"default-src 'none'; "
                 "img-src 'self'; font-src 'self'; style-src 'unsafe-inline'; script-src "
                 "'unsafe-inline'; connect-src 'self'\">\n<title>Tarvinel</title>\n<style>\n"));
}

TEST(UploadPage, HoldsTheFormTheQueueAndTheTotal) {
  const std::string page = UploadPage::html();
  EXPECT_THAT(page,
              HasSubstr("<body>\n<h1>Send your photos</h1>\n<div id=\"closed\" hidden>Uploads "
                        "are closed right now, ask your Pro to open them</div>\n"
                        "<div id=\"form\">"));
  EXPECT_THAT(page, HasSubstr(">Your name</label>"));
  EXPECT_THAT(page, HasSubstr("<div id=\"drop\">Drop photos here or <button id=\"pick\" "
                              "type=\"button\">Choose photos</button></div>"));
  EXPECT_THAT(page, HasSubstr("<ul id=\"queue\"></ul>\n<div id=\"total\" hidden></div>\n<script>"));
  EXPECT_THAT(page, EndsWith("</script>\n</body>\n</html>\n"));
}

TEST(UploadPage, TheChooserOffersTheAcceptedTypes) {
  EXPECT_THAT(UploadPage::html(),
              HasSubstr("accept=\".nef,.nrw,.cr2,.cr3,.arw,.raf,.dng,.3fr,.fff,.orf,.rw2,.pef,.iiq,"
                        ".srw,.x3f,.jpg,.jpeg,.heic,.heif,.tif,.tiff,.png\""));
}

TEST(UploadPage, WithoutABrandThereIsNoMark) {
  const std::string page = UploadPage::html();
  EXPECT_THAT(page, Not(HasSubstr("id=\"logo\"")));
  EXPECT_THAT(page, Not(HasSubstr("id=\"brandname\"")));
  EXPECT_THAT(page, Not(HasSubstr("@font-face")));
  EXPECT_THAT(page, HasSubstr("font: 14px -apple-system, system-ui, sans-serif"));
}

TEST(UploadPage, LeavesNoPlaceholder) {
  EXPECT_THAT(UploadPage::html(), Not(HasSubstr("{{")));
}

}  // namespace
}  // namespace tarvinel
