#include "app/desktop/updates/FeedUpdateController.h"
#include "app/updates/UpdateNotice.h"

#include <gmock/gmock.h>

#include <string>
#include <vector>

namespace tarvinel {
namespace {

using testing::ElementsAre;

/// Returns a feed with these items.
std::string rss(const std::string& items) {
  return R"(<?xml version="1.0" encoding="utf-8"?>
<rss version="2.0" xmlns:u="https://tarvinel.example/ns"><channel>
<title>Tarvinel</title><link>https://tarvinel.example/</link><language>en</language>
)" + items +
         "</channel></rss>\n";
}

/// Returns a feed with one item that contains this text.
std::string item(const std::string& facts) {
  return rss("<item>" + facts + "</item>");
}

std::string repeated(const std::string& text, int times) {
  std::string result;
  for (int i = 0; i < times; ++i)
    result += text;
  return result;
}

/// Returns the error of a feed; empty if there is none.
std::string complaint(const std::string& feed) {
  try {
    AppcastFeed::parse(feed);
  } catch (const FeedError& error) {
    return error.what();
  }
  return {};
}

constexpr const char* noVersion = "The update feed names no version.";
constexpr const char* documentType =
    "The update feed declares a document type, which is not accepted.";

TEST(AppcastFeed, ReadsVersionsFromTheEnclosure) {
  EXPECT_THAT(AppcastFeed::parse(rss(R"(
    <item><title>Version 1.2</title><link>https://tarvinel.example/1.2</link>
      <enclosure url="https://tarvinel.example/t-1.2.tar.gz" u:version="2041"
                 u:shortVersionString="1.2" length="1" type="application/octet-stream"/></item>
    <item><link>https://tarvinel.example/1.1</link><enclosure u:version="1.1"/></item>)")),
              ElementsAre(AppcastItem{"1.2", "https://tarvinel.example/1.2"},
                          AppcastItem{"1.1", "https://tarvinel.example/1.1"}));
}

TEST(AppcastFeed, ReadsVersionsFromElements) {
  EXPECT_THAT(AppcastFeed::parse(item("<u:version>2041</u:version>"
                                      "<u:shortVersionString> 1.2\n</u:shortVersionString>")),
              ElementsAre(AppcastItem{"1.2", {}}));
  EXPECT_THAT(AppcastFeed::parse(item("<u:version>1.3</u:version>")),
              ElementsAre(AppcastItem{"1.3", {}}));
}

TEST(AppcastFeed, AnyNamespaceWillDo) {
  EXPECT_THAT(
      AppcastFeed::parse(
          "<rss><channel><item><version xmlns='urn:x'>1.2</version></item></channel></rss>"),
      ElementsAre(AppcastItem{"1.2", {}}));
  EXPECT_THAT(
      AppcastFeed::parse("<rss><channel><item><enclosure version='1.2'/></item></channel></rss>"),
      ElementsAre(AppcastItem{"1.2", {}}));
}

TEST(AppcastFeed, ThePageIsTheLinkElseTheReleaseNotes) {
  const std::string version = "<u:version>1.2</u:version>";
  const std::string link = "<link>https://a.example/</link>";
  const std::string notes = "<u:releaseNotesLink>http://b.example/</u:releaseNotesLink>";
  const auto pageOf = [&](const std::string& facts) {
    return AppcastFeed::parse(item(version + facts)).front().page;
  };
  EXPECT_EQ(pageOf(link), "https://a.example/");
  EXPECT_EQ(pageOf(notes), "http://b.example/");
  EXPECT_EQ(pageOf(notes + link), "https://a.example/");
  EXPECT_EQ(pageOf(""), std::nullopt);
  EXPECT_EQ(pageOf("<enclosure url='https://a.example/t.tar.gz'/>"), std::nullopt);
}

TEST(AppcastFeed, PagesThatAreNotOnTheWebAreDropped) {
  EXPECT_THAT(
      AppcastFeed::parse(rss("<item><u:version>1</u:version><link>file:///etc/passwd</link></item>"
                             "<item><u:version>2</u:version><link>javascript:alert(1)</link>"
                             "<u:releaseNotesLink>https://a.example/</u:releaseNotesLink></item>"
                             "<item><u:version>3</u:version><u:link href='https://b.example/'/>"
                             "<link>https://c.example/</link></item>")),
      ElementsAre(AppcastItem{"1", {}}, AppcastItem{"2", "https://a.example/"},
                  AppcastItem{"3", "https://c.example/"}));
}

TEST(AppcastFeed, ItemsWithoutAVersionAreLeftOut) {
  EXPECT_THAT(AppcastFeed::parse(rss("<item><title>News</title></item>"
                                     "<item><u:version>soon</u:version></item><item/>"
                                     "<item><u:version/><enclosure u:version=''/></item>"
                                     "<item><u:version>1.2</u:version></item>")),
              ElementsAre(AppcastItem{"1.2", {}}));
}

TEST(AppcastFeed, OnlyWhatStandsInAnItemCounts) {
  EXPECT_THAT(AppcastFeed::parse(rss("<u:version>9</u:version><image><u:version>8</u:version>"
                                     "<item><u:version>7</u:version></item></image>"
                                     "<item><u:deltas><enclosure u:version='6'/></u:deltas>"
                                     "<u:version>1<b>5</b></u:version></item>")),
              ElementsAre(AppcastItem{"1", {}}));
}

TEST(AppcastFeed, HostileTextsAreNoVersions) {
  for (const char* version :
       {"&lt;b&gt;1.2&lt;/b&gt;", "<![CDATA[1.2<a href='file:///'>x</a>]]>", "1.2&#10;1.3",
        "1.2\xE2\x80\xAE", "1.2&amp;x", "1.2 available, visit http://evil.example"}) {
    EXPECT_EQ(complaint(item("<u:version>" + std::string(version) + "</u:version>")), noVersion)
        << version;
  }
  EXPECT_EQ(complaint(item("<u:version>" + std::string(100'000, '1') + "</u:version>")), noVersion);
}

TEST(AppcastFeed, TitlesMayHoldAnything) {
  EXPECT_THAT(AppcastFeed::parse(item("<title>&lt;script&gt;\xE2\x80\xAE &#9;<b>x</b></title>"
                                      "<u:version>1.2</u:version>")),
              ElementsAre(AppcastItem{"1.2", {}}));
}

TEST(AppcastFeed, ReadsUTF8) {
  const std::string feed = "<rss><channel><item><version>1.2</version></item></channel></rss>";
  for (const std::string start :
       {"", "\xEF\xBB\xBF", "<?xml version='1.0'?>", "<!-- \xC3\xA4 -->"}) {
    EXPECT_THAT(AppcastFeed::parse(start + feed), ElementsAre(AppcastItem{"1.2", {}})) << start;
  }
}

TEST(AppcastFeed, OtherEncodingsAreAnError) {
  const std::string feed = "<rss><channel><item><version>1.2</version></item></channel></rss>";
  std::string utf16 = "\xFF\xFE";
  for (const char c : feed)
    utf16 += {c, '\0'};
  for (const auto& encoded : {utf16,
                              R"(<?xml version="1.0" encoding="ISO-8859-1"?><!-- )"
                              "\xE4 -->" +
                                  feed,
                              std::string("<rss>\xFF\xFE</rss>"), std::string("<rss>\xC3"),
                              std::string("\x1F\x8B\x08 this would be compressed")}) {
    EXPECT_EQ(complaint(encoded), "The update feed is not a text in UTF-8.");
  }
}

TEST(AppcastFeed, AnEmptyFeedIsAnError) {
  EXPECT_EQ(complaint(""), "The update feed is empty.");
  EXPECT_EQ(complaint(rss("")), noVersion);
  EXPECT_EQ(complaint("<rss/>"), noVersion);
  EXPECT_EQ(complaint("<rss><channel/></rss>"), noVersion);
}

TEST(AppcastFeed, AnythingButRSSIsAnError) {
  for (const char* document :
       {"<html><body>Sign in to the hotel's network</body></html>",
        "<feed xmlns='http://www.w3.org/2005/Atom'><entry/></feed>", "<RSS/>"}) {
    EXPECT_EQ(complaint(document), "The update feed is not an RSS feed.") << document;
  }
}

TEST(AppcastFeed, BadXMLIsAnError) {
  const std::string good = item("<u:version>1.2</u:version>");
  const std::vector<std::string> bad = {
      " ",
      "\n",
      "1.2",
      "{\"version\": \"1.2\"}",
      "<",
      "<rss",
      "<rss>",
      "<rss></rs>",
      good + "<rss/>",
      good + "x",
      good.substr(0, good.size() - 3),
      "<rss a='1' a='1'/>",
      "<rss>&bomb;</rss>",
      "<rss>&#0;</rss>",
      "<rss>&#xFFFFFFFFFF;</rss>",
      std::string("<rss>\0</rss>", 12),
      std::string("\0<rss/>", 7),
      std::string(1000, '\0'),
      "<rss>\x01</rss>",
  };
  for (const auto& document : bad) {
    EXPECT_THAT(complaint(document),
                testing::MatchesRegex(R"(The update feed is not well-formed, line [0-9]+\.)"))
        << document;
  }
}

TEST(AppcastFeed, TellsTheLineThatIsBad) {
  EXPECT_EQ(complaint("<rss>\n<channel>\n</rss>"), "The update feed is not well-formed, line 3.");
}

TEST(AppcastFeed, DocumentTypesAreRefused) {
  std::string bomb = "<!DOCTYPE rss [<!ENTITY a0 \"aaaaaaaaaa\">";
  for (int i = 1; i <= 30; ++i) {
    const std::string inner = "&a" + std::to_string(i - 1) + ";";
    bomb += "<!ENTITY a" + std::to_string(i) + " \"";
    for (int times = 0; times < 10; ++times)
      bomb += inner;
    bomb += "\">";
  }
  bomb += "]><rss><channel><item><version>&a30;</version></item></channel></rss>";
  EXPECT_EQ(complaint(bomb), documentType);
  for (const char* document :
       {"<!DOCTYPE rss><rss/>", "<!DOCTYPE rss SYSTEM 'file:///etc/passwd'><rss/>",
        "<!DOCTYPE rss [<!ENTITY x SYSTEM 'file:///etc/passwd'>]><rss>&x;</rss>",
        "<?xml version='1.0'?><!-- c --><!DOCTYPE html><html/>", "\xEF\xBB\xBF<!DOCTYPE rss><rss/>",
        "<?xml version='1.0'?>\n <!-- <rss> --> <?a ?> <!--> --><!DOCTYPE rss><rss/>"}) {
    EXPECT_EQ(complaint(document), documentType) << document;
  }
}

TEST(AppcastFeed, WhatOnlyLooksLikeADocumentTypeIsNone) {
  const std::string feed = item("<title><![CDATA[<!DOCTYPE html>]]></title><version>1.2</version>");
  EXPECT_THAT(AppcastFeed::parse(feed), ElementsAre(AppcastItem{"1.2", {}}));
  EXPECT_THAT(AppcastFeed::parse("<!-- <!DOCTYPE x> -->" + feed.substr(feed.find("<rss"))),
              ElementsAre(AppcastItem{"1.2", {}}));
  EXPECT_THAT(complaint("<rss/><!DOCTYPE rss>"), testing::HasSubstr("not well-formed"));
}

TEST(AppcastFeed, ThousandsOfItemsAreRead) {
  std::string items;
  for (int i = 0; i < 20'000; ++i) {
    items += "<item><u:version>1." + std::to_string(i) + "</u:version></item>";
  }
  const auto read = AppcastFeed::parse(rss(items));
  EXPECT_EQ(read.size(), 20'000U);
  EXPECT_EQ(newestOf(read).version, "1.19999");
}

TEST(AppcastFeed, DeepElementsAreSkipped) {
  constexpr int depth = 100'000;
  std::string deep;
  for (int i = 0; i < depth; ++i)
    deep += "<d>";
  deep += "1.9";
  for (int i = 0; i < depth; ++i)
    deep += "</d>";
  EXPECT_THAT(AppcastFeed::parse(
                  rss(deep + "<item>" + deep + "<u:version>1.2" + deep + "</u:version></item>")),
              ElementsAre(AppcastItem{"1.2", {}}));
}

TEST(AppcastFeed, AttributesAreReadUpToALimit) {
  const auto feedWith = [](int attributes) {
    std::string enclosure = "<enclosure ";
    for (int i = 1; i < attributes; ++i)
      enclosure += "a" + std::to_string(i) + "='1' ";
    return item(enclosure + "u:version='1.2'/>");
  };
  const char* const tooMany = "The update feed has a tag with too many attributes.";
  EXPECT_THAT(AppcastFeed::parse(feedWith(256)), ElementsAre(AppcastItem{"1.2", {}}));
  EXPECT_EQ(complaint(feedWith(257)), tooMany);
  EXPECT_EQ(complaint(feedWith(100'000)), tooMany);
  EXPECT_THAT(AppcastFeed::parse(item("<title>" + repeated("a = 'b' ", 300) +
                                      "</title>"
                                      "<version>1.2</version>")),
              ElementsAre(AppcastItem{"1.2", {}}));
}

TEST(AppcastFeed, NoTagGoesOnAfterAnotherBegins) {
  for (const char* tag : {"<enclosure a='<' b=''/>", "<enclosure a='' <b c=''/>"}) {
    EXPECT_THAT(complaint(item(tag)), testing::HasSubstr("not well-formed")) << tag;
  }
}

}  // namespace
}  // namespace tarvinel
