#include "core/config/TarvinelConfig.h"
#include "core/pages/HelpPage.h"
#include "tests/support/TemporaryFolder.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include <algorithm>
#include <regex>
#include <string>
#include <vector>

namespace tarvinel {
namespace {

using nlohmann::json;
using testing::ElementsAreArray;
using testing::HasSubstr;
using testing::Not;
using testing::StartsWith;

std::size_t occurrences(const std::string& text, const std::string& part) {
  std::size_t count = 0;
  for (auto at = text.find(part); at != std::string::npos; at = text.find(part, at + 1))
    ++count;
  return count;
}

std::vector<std::string> headings(const std::string& page) {
  static const std::regex heading("<h2>([^<]*)</h2>");
  std::vector<std::string> found;
  for (std::sregex_iterator it(page.begin(), page.end(), heading), end; it != end; ++it)
    found.push_back((*it)[1]);
  return found;
}

/// Returns the text of the sample with that id, as a reader copies it.
std::string sample(const std::string& page, const std::string& id) {
  const std::string start = "<pre id=\"" + id + "\"><code>";
  const auto from = page.find(start) + start.size();
  return page.substr(from, page.find("</code>", from) - from);
}

TEST(HelpPage, BeginsAsAnHTMLDocumentThatRunsNothing) {
  EXPECT_THAT(
      HelpPage::html(std::nullopt, "studio"),
      StartsWith("<!DOCTYPE html>\n<html lang=\"en\">\n<head>\n<meta charset=\"utf-8\">\n"
                 "<meta name=\"viewport\" content=\"width=device-width, initial-scale=1\">\n"
                 "<meta http-equiv=\"Content-Security-Policy\" content=\"default-src 'none'; "
                 "img-src 'self'; font-src 'self'; style-src 'unsafe-inline'\">\n"
                 "<title>Tarvinel Help</title>\n<style>\n  html, body"));
  EXPECT_THAT(HelpPage::html(std::nullopt, "studio"), Not(HasSubstr("<script")));
  EXPECT_THAT(HelpPage::html(std::nullopt, "studio"), Not(HasSubstr("{{")));
}

TEST(HelpPage, HasTheSectionsInTheirOrder) {
  const std::string page = HelpPage::html(std::nullopt, "studio");
  EXPECT_THAT(page, HasSubstr("<h1>Tarvinel help for the Pro</h1>\n<p>"));
  EXPECT_THAT(headings(page), ElementsAreArray(HelpPage::sectionTitles));
}

TEST(HelpPage, ExplainsEveryKeyInItsOrder) {
  const std::string page = HelpPage::html(std::nullopt, "studio");
  std::size_t at = page.find("id=\"config-sample\"");
  for (const std::string_view key : HelpPage::documentedConfigKeys) {
    const auto found = page.find("<li><code>\"" + std::string(key) + "\"</code>", at);
    ASSERT_NE(found, std::string::npos) << key;
    at = found;
  }
}

TEST(HelpPage, NamesTheAddressesOfThisComputer) {
  const std::string page = HelpPage::html(std::nullopt, "studio");
  EXPECT_EQ(occurrences(page, "http://studio.local/"), 3U);
  EXPECT_EQ(occurrences(page, "http://studio.local/upload/"), 1U);
  EXPECT_THAT(page, HasSubstr(">studio.local</code>"));
}

TEST(HelpPage, AnEmptyHostNameStandsForTheDefaultOne) {
  EXPECT_EQ(HelpPage::html(std::nullopt, ""), HelpPage::html(std::nullopt, "tarvinel"));
  EXPECT_THAT(HelpPage::html(std::nullopt, ""), HasSubstr("http://tarvinel.local/"));
}

TEST(HelpPage, EscapesTheHostNameEverywhere) {
  const std::string page = HelpPage::html(std::nullopt, "<x>&\"'");
  EXPECT_THAT(page, Not(HasSubstr("<x>")));
  EXPECT_EQ(occurrences(page, "&lt;x&gt;&amp;&quot;&#39;"), 6U);
}

TEST(HelpPage, TheHeaderShowsTheNameWithoutALogo) {
  EXPECT_THAT(HelpPage::html(std::nullopt, "a"),
              HasSubstr("<header><div id=\"name\">Tarvinel</div></header>"));
  const std::string page = HelpPage::html(BrandConfig{.name = "A&B <x>"}, "a");
  EXPECT_THAT(page, HasSubstr("<header><div id=\"name\">A&amp;B &lt;x&gt;</div></header>"));
  EXPECT_THAT(page, HasSubstr("<title>A&amp;B &lt;x&gt; Help</title>"));
  EXPECT_THAT(page, Not(HasSubstr("<img")));
}

TEST(HelpPage, TheHeaderShowsALogoOnly) {
  const std::string page = HelpPage::html(BrandConfig{.name = "N", .image = "/i.png"}, "a");
  EXPECT_THAT(page, HasSubstr("<header><img id=\"logo\" src=\"/brand/image\" alt=\"\"></header>"));
  EXPECT_THAT(page, Not(HasSubstr("<div id=\"name\">")));
}

TEST(HelpPage, ABrandFontComesFirst) {
  const std::string page = HelpPage::html(BrandConfig{.font = "/f.woff2"}, "a");
  EXPECT_THAT(page, HasSubstr("<style>\n  @font-face { font-family: \"Brand\"; src: "
                              "url(/brand/font); font-display: swap; }\n  html"));
  EXPECT_THAT(page, HasSubstr("font: 16px/1.5 \"Brand\", -apple-system, system-ui, sans-serif;"));
  EXPECT_THAT(HelpPage::html(std::nullopt, "a"),
              HasSubstr("font: 16px/1.5 -apple-system, system-ui, sans-serif;"));
}

TEST(HelpPage, NamesThePlacesOfTheFile) {
  const std::string page = HelpPage::html(std::nullopt, "a");
  EXPECT_THAT(page, HasSubstr("~/Library/Application Support/Tarvinel/config.json"));
  EXPECT_THAT(page, HasSubstr("~/.config/Tarvinel/config.json"));
  EXPECT_THAT(page, HasSubstr("&lt;hostname&gt;.local"));
}

TEST(HelpPage, TheConfigurationSampleHoldsTheseValues) {
  EXPECT_EQ(json::parse(sample(HelpPage::html(std::nullopt, "studio"), "config-sample")),
            json::parse(R"({"port":80,"hostname":"studio","scale":2.0,"jpegQuality":0.92,
              "motionQuality":0.7,"fps":20,"budgetMbps":300,"motionFps":12})"));
}

TEST(HelpPage, BothSamplesWorkWhenPasted) {
  const std::string page = HelpPage::html(std::nullopt, "studio");
  const test::TemporaryFolder folder;
  for (const char* id : {"config-sample", "brand-sample"}) {
    const auto file = folder.write("config.json", sample(page, id));
    const auto loaded = TarvinelConfig::load(file, std::nullopt, Log::silent().category("config"));
    EXPECT_FALSE(loaded.error) << id;
    EXPECT_NE(loaded.config, TarvinelConfig()) << id;
  }
}

TEST(HelpPage, TheBrandSampleHasEveryKey) {
  const auto brand =
      json::parse(sample(HelpPage::html(std::nullopt, "a"), "brand-sample")).at("brand");
  for (const char* key : {"name", "waiting", "disconnected", "image", "font", "color"})
    EXPECT_TRUE(brand.contains(key)) << key;
  EXPECT_EQ(brand.size(), 6U);
}

}  // namespace
}  // namespace tarvinel
