#include "core/pages/UploadPage.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <regex>
#include <string>
#include <utility>
#include <vector>

namespace tarvinel {
namespace {

using testing::ElementsAreArray;
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

using Rule = std::pair<std::string, std::string>;  // selector, declarations

/// Returns the rules of the page's style sheet in their order, with single blanks.
std::vector<Rule> styleRules(const std::string& page) {
  const auto begin = page.find("<style>") + 7;
  std::string style = page.substr(begin, page.find("</style>") - begin);
  style = std::regex_replace(style, std::regex("\\s+"), " ");
  static const std::regex rule(R"( ?([^{}]+) \{ ([^{}]*); \})");
  std::vector<Rule> rules;
  for (std::sregex_iterator it(style.begin(), style.end(), rule), end; it != end; ++it)
    rules.emplace_back((*it)[1], (*it)[2]);
  return rules;
}

TEST(UploadPage, LooksLikeThis) {
  const std::vector<Rule> expected{
      {"html, body",
       "margin: 0; min-height: 100%; background: #111; color: #ccc; "
       "font: 14px -apple-system, system-ui, sans-serif"},
      {"body",
       "display: flex; flex-direction: column; align-items: center; padding: 24px 16px 48px; "
       "box-sizing: border-box; gap: 16px"},
      {"#logo", "width: min(160px, 40vw); height: auto"},
      {"#brandname", "font-size: 18px; font-weight: 600; letter-spacing: 0.04em"},
      {"h1", "font-size: 22px; font-weight: 600; margin: 0"},
      {"#closed", "color: #e2791b; font-size: 15px; text-align: center"},
      {"#closed[hidden]", "display: none"},
      {"#form", "width: min(480px, 100%); display: flex; flex-direction: column; gap: 12px"},
      {"label", "font-size: 13px; color: rgba(255, 255, 255, 0.7)"},
      {"#name",
       "font: inherit; background: #1c1c1c; color: #eee; border: 1px solid #333; "
       "border-radius: 6px; padding: 8px 10px"},
      {"#drop",
       "border: 2px dashed #444; border-radius: 10px; padding: 28px 16px; text-align: center"},
      {"#drop.over", "border-color: #6aa9ff"},
      {"#drop.disabled", "opacity: 0.5"},
      {"#pick",
       "font: inherit; background: #2a2a2a; color: #eee; border: 1px solid #444; "
       "border-radius: 6px; padding: 6px 12px; cursor: pointer"},
      {"#queue",
       "list-style: none; margin: 0; padding: 0; display: flex; flex-direction: column; gap: 8px"},
      {"#queue li",
       "display: flex; flex-direction: column; gap: 4px; background: #1a1a1a; border-radius: 6px; "
       "padding: 8px 10px"},
      {"#queue .label", "font-size: 13px; word-break: break-all"},
      {"#queue progress", "width: 100%"},
      {"#queue .status", "font-size: 12px; color: rgba(255, 255, 255, 0.6)"},
      {"#total", "font-size: 13px; color: rgba(255, 255, 255, 0.6)"},
      {"#total[hidden]", "display: none"},
      // the list is as wide as the form, and failed uploads look failed
      {"#queue", "width: min(480px, 100%)"},
      {"#queue li.failed", "box-shadow: inset 4px 0 #ff8a80"},
      {"#queue li.failed progress", "display: none"},
      {"#queue li.failed .status", "color: #ff8a80"}};
  EXPECT_THAT(styleRules(UploadPage::html()), ElementsAreArray(expected));
}

TEST(UploadPage, LeavesNoPlaceholder) {
  EXPECT_THAT(UploadPage::html(), Not(HasSubstr("{{")));
  EXPECT_THAT(UploadPage::html(BrandConfig{.name = "N", .font = "f"}), Not(HasSubstr("{{")));
}

}  // namespace
}  // namespace tarvinel
