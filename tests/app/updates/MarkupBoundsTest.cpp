#include "app/updates/MarkupBounds.h"

#include <gtest/gtest.h>

#include <string>

namespace tarvinel {
namespace {

TEST(MarkupBounds, FindsADocumentType) {
  for (const char* document :
       {"<!DOCTYPE rss><rss/>", "\xEF\xBB\xBF<!DOCTYPE rss", "<?xml version='1.0'?>\n<!DOCTYPE x>",
        " <!-- <rss> --> <?a ?> <!--> --><!DOCTYPE x>", "<!-- a --><!doctype x>"}) {
    EXPECT_TRUE(MarkupBounds::declaresDocumentType(document)) << document;
  }
}

TEST(MarkupBounds, FindsNoneAfterTheFirstElement) {
  for (const char* document :
       {"", "<", "<?", "<!--", "<!-- <!DOCTYPE x>", "<?xml <!DOCTYPE x>", "x<!DOCTYPE x>", "<rss/>",
        "<?xml version='1.0'?><rss><![CDATA[<!DOCTYPE html>]]></rss>",
        "<!-- <!DOCTYPE x> --><rss/>", "<rss/><!DOCTYPE x>"}) {
    EXPECT_FALSE(MarkupBounds::declaresDocumentType(document)) << document;
  }
}

TEST(MarkupBounds, CountsTheAttributesOfTheTagWithTheMost) {
  EXPECT_EQ(MarkupBounds::mostAttributes(""), 0U);
  EXPECT_EQ(MarkupBounds::mostAttributes("<"), 0U);
  EXPECT_EQ(MarkupBounds::mostAttributes("a='1'"), 0U);
  EXPECT_EQ(MarkupBounds::mostAttributes("<a>b = c === d</a>"), 0U);
  EXPECT_EQ(MarkupBounds::mostAttributes("<a b='1' c=\"2\"><d e = '3'/></a>"), 2U);
  EXPECT_EQ(MarkupBounds::mostAttributes("<a/><b c\n=\r\n\t'' d='>' e=''/><f g=''>"), 3U);
  EXPECT_EQ(MarkupBounds::mostAttributes("<a b='1' c='2"), 2U);
}

TEST(MarkupBounds, CountsInBigDocuments) {
  std::string many = "<a ";
  for (int i = 0; i < 200'000; ++i)
    many += "b=''";
  EXPECT_EQ(MarkupBounds::mostAttributes(many), 200'000U);
  EXPECT_EQ(MarkupBounds::mostAttributes(std::string(1'000'000, '<')), 0U);
  EXPECT_EQ(MarkupBounds::mostAttributes("<" + std::string(1'000'000, '=')), 0U);
}

}  // namespace
}  // namespace tarvinel
