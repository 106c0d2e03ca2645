#include "core/pages/BrandMarkup.h"
#include "core/pages/ViewerPage.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace tarvinel {
namespace {

using testing::HasSubstr;
using testing::Not;
using testing::StartsWith;

TEST(ViewerPage, BeginsAsAnHTMLDocument) {
  EXPECT_THAT(ViewerPage::html(),
              StartsWith("<!DOCTYPE html>\n<html lang=\"en\">\n<head>\n<meta charset=\"utf-8\">\n"
                         "<meta name=\"viewport\" content=\"width=device-width, "
                         "initial-scale=1\">\n<title>Tarvinel</title>\n<style>\n  "));
}

TEST(ViewerPage, HoldsTheImageAndTheIdleTexts) {
  const std::string page = ViewerPage::html();
  EXPECT_THAT(page, HasSubstr("<img id=\"screen\" src=\"/stream\" alt=\"\">\n<div id=\"idle\">"));
  EXPECT_THAT(page,
              HasSubstr("<div id=\"hint\" "
                        "data-waiting=\"Tarvinel - waiting for the presenter to start sharing\" "
                        "data-disconnected=\"Stream disconnected - reconnecting\">"
                        "Tarvinel - waiting for the presenter to start sharing</div>"));
}

TEST(ViewerPage, WithoutABrandTheIdleBlockHoldsOnlyTheHint) {
  const std::string page = ViewerPage::html();
  EXPECT_THAT(page, Not(HasSubstr("<img id=\"logo\"")));
  EXPECT_THAT(page, Not(HasSubstr("<div id=\"name\"")));
  EXPECT_THAT(page, Not(HasSubstr("@font-face")));
  EXPECT_THAT(page, HasSubstr("font: 14px -apple-system, system-ui, sans-serif;"));
}

TEST(ViewerPage, ABrandNameTitlesThePageAndStandsInItsColour) {
  const std::string page = ViewerPage::html(BrandConfig{.name = "A&B <x>", .color = "#E2791B"});
  EXPECT_THAT(page, HasSubstr("<title>A&amp;B &lt;x&gt;</title>"));
  EXPECT_THAT(page, HasSubstr("<div id=\"idle\">\n<div id=\"name\" style=\"color: #E2791B\">"
                              "A&amp;B &lt;x&gt;</div>\n<div id=\"hint\""));
}

TEST(ViewerPage, AnInvalidColourIsNotInserted) {
  const std::string page = ViewerPage::html(BrandConfig{.name = "N", .color = "red;\"><script>"});
  EXPECT_THAT(page, HasSubstr("<div id=\"name\" style=\"color: #ccc\">N</div>"));
  EXPECT_THAT(page, Not(HasSubstr("red;")));
  EXPECT_THAT(ViewerPage::html(BrandConfig{.name = "N"}), HasSubstr("style=\"color: #ccc\">N<"));
}

TEST(ViewerPage, ABrandWithLogoAndNameShowsOnlyTheLogo) {
  const std::string page = ViewerPage::html(BrandConfig{.name = "N", .image = "/nowhere.png"});
  EXPECT_THAT(page, HasSubstr("<div id=\"idle\">\n<img id=\"logo\" src=\"/brand/image\" "
                              "alt=\"\">\n<div id=\"hint\""));
  EXPECT_THAT(page, Not(HasSubstr("<div id=\"name\"")));
  EXPECT_THAT(page, HasSubstr("<title>N</title>"));
}

TEST(ViewerPage, ABrandFontComesFirst) {
  const std::string page = ViewerPage::html(BrandConfig{.font = "/f.woff2"});
  EXPECT_THAT(page, HasSubstr("<style>\n  @font-face { font-family: \"Brand\"; src: "
                              "url(/brand/font); font-display: swap; }\n  html"));
  EXPECT_THAT(page, HasSubstr("font: 14px \"Brand\", -apple-system, system-ui, sans-serif;"));
}

TEST(ViewerPage, ABrandsTextsTakeThePlaceOfTheDefaultsEscaped) {
  const std::string page =
      ViewerPage::html(BrandConfig{.waiting = "\"Soon\" <b>", .disconnected = "it's {{gone}}"});
  EXPECT_THAT(page, HasSubstr("<div id=\"hint\" data-waiting=\"&quot;Soon&quot; &lt;b&gt;\" "
                              "data-disconnected=\"it&#39;s {{gone}}\">"
                              "&quot;Soon&quot; &lt;b&gt;</div>"));
  EXPECT_THAT(page, HasSubstr("<title>Tarvinel</title>"));
}

TEST(ViewerPage, AnEmptyBrandIsLikeNone) {
  EXPECT_EQ(ViewerPage::html(BrandConfig()), ViewerPage::html());
}

TEST(ViewerPage, LeavesNoPlaceholder) {
  EXPECT_THAT(ViewerPage::html(), Not(HasSubstr("{{")));
}

TEST(ViewerPage, EscapesWhatMeansSomethingInHTML) {
  EXPECT_EQ(ViewerPage::escape("A&B <x> \"q\" 'a' ä"),
            "A&amp;B &lt;x&gt; &quot;q&quot; &#39;a&#39; ä");
  EXPECT_EQ(ViewerPage::escape("&amp;"), "&amp;amp;");
  EXPECT_EQ(ViewerPage::escape(""), "");
}

TEST(Template, ValuesAreInsertedAsTheyAreAndNotSearchedAgain) {
  EXPECT_EQ(filledTemplate("<{{a}}|{{b}}|{{a}}>", {{"a", "{{b}}"}, {"b", "2"}}), "<{{b}}|2|{{b}}>");
  EXPECT_EQ(filledTemplate("plain", {}), "plain");
}

TEST(TemplateDeathTest, ANameWithoutAValueStopsTheProgram) {
  EXPECT_DEATH(filledTemplate("{{c}}", {{"a", "1"}}), "page template: name without a value");
  EXPECT_DEATH(filledTemplate("{{c", {{"a", "1"}}), "page template: unclosed name");
}

}  // namespace
}  // namespace tarvinel
