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

TEST(UploadPage, ABrandsNameTitlesThePageAndStandsAboveTheForm) {
  const std::string page = UploadPage::html(BrandConfig{.name = "A&B <x>"});
  EXPECT_THAT(page, HasSubstr("<title>A&amp;B &lt;x&gt;</title>"));
  EXPECT_THAT(page, HasSubstr("<body>\n<div id=\"brandname\">A&amp;B &lt;x&gt;</div>\n<h1>"));
}

TEST(UploadPage, ABrandWithLogoAndNameShowsOnlyTheLogo) {
  const std::string page = UploadPage::html(BrandConfig{.name = "N", .image = "/nowhere.png"});
  EXPECT_THAT(page, HasSubstr("<body>\n<img id=\"logo\" src=\"/brand/image\" alt=\"\">\n<h1>"));
  EXPECT_THAT(page, Not(HasSubstr("<div id=\"brandname\"")));
}

TEST(UploadPage, ABrandsFontComesFirst) {
  const std::string page = UploadPage::html(BrandConfig{.font = "/nowhere.woff2"});
  EXPECT_THAT(page, HasSubstr("<style>\n  @font-face { font-family: \"Brand\"; src: "
                              "url(/brand/font); font-display: swap; }"));
  EXPECT_THAT(page, HasSubstr("font: 14px \"Brand\", -apple-system, system-ui, sans-serif"));
}

TEST(UploadPage, LeavesNoPlaceholder) {
  EXPECT_THAT(UploadPage::html(), Not(HasSubstr("{{")));
  EXPECT_THAT(UploadPage::html(BrandConfig{.name = "N", .font = "f"}), Not(HasSubstr("{{")));
}

}  // namespace
}  // namespace tarvinel
