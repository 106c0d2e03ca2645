#include "core/pages/Template.h"
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
