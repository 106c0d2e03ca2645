#include "core/http/Router.h"

#include <gtest/gtest.h>

#include <string>

namespace tarvinel {
namespace {

class AllowedHostsTest : public testing::Test {
 protected:
  bool admits(const std::string& host) const { return hosts.admits(host); }

  AllowedHosts hosts{{"Studio-PC.corp.example", "screen.example.org"}};
};

TEST_F(AllowedHostsTest, AddressesByNumber) {
  for (const char* host :
       {"192.168.1.20", "192.168.1.20:8080", "127.0.0.1", "8.8.8.8:", "[::1]", "[::1]:80",
        "[fd00::20]:8080", "[FE80::1%25eth0]", "[::ffff:10.0.0.1]"}) {
    EXPECT_TRUE(admits(host)) << host;
  }
}

TEST_F(AllowedHostsTest, NamesThatNoForeignPageHas) {
  for (const char* host :
       {"localhost", "localhost:8080", "tarvinel.local", "tarvinel.local:8080", "a.b.local",
        "studio.lan", "studio.home.arpa", "studio", "studio:80", "x"}) {
    EXPECT_TRUE(admits(host)) << host;
  }
}

TEST_F(AllowedHostsTest, NamesOfThisComputerAndOfTheSettings) {
  EXPECT_TRUE(admits("studio-pc.corp.example"));
  EXPECT_TRUE(admits("screen.example.org:8080"));
  EXPECT_FALSE(admits("corp.example"));
  EXPECT_FALSE(admits("a.screen.example.org"));
  EXPECT_FALSE(admits("screen.example.org.evil.example"));
}

TEST_F(AllowedHostsTest, NamesOfForeignPages) {
  for (const char* host :
       {"evil.example", "evil.example:80", "tarvinel.local.evil.example", "localhost.evil.example",
        "192.168.1.20.evil.example", "evillocal.example", "evil.notlan", "home.arpa.example",
        "xn--80ak6aa92e.com"}) {
    EXPECT_FALSE(admits(host)) << host;
  }
}

TEST_F(AllowedHostsTest, InAnyCase) {
  EXPECT_TRUE(admits("LOCALHOST"));
  EXPECT_TRUE(admits("Tarvinel.LOCAL:80"));
  EXPECT_TRUE(admits("SCREEN.example.ORG"));
  EXPECT_FALSE(admits("EVIL.EXAMPLE"));
}

TEST_F(AllowedHostsTest, ADotAtTheEndChangesNothingButForATopLevelDomain) {
  EXPECT_TRUE(admits("tarvinel.local."));
  EXPECT_TRUE(admits("localhost.:8080"));
  EXPECT_TRUE(admits("screen.example.org."));
  EXPECT_FALSE(admits("evil.example."));
  EXPECT_FALSE(admits("evil."));
  EXPECT_FALSE(admits("tarvinel.local.."));
  EXPECT_FALSE(admits("."));
}

TEST_F(AllowedHostsTest, WithoutAValue) {
  EXPECT_TRUE(admits(""));
}

TEST_F(AllowedHostsTest, SeveralNamesAreNone) {
  EXPECT_FALSE(admits("localhost,evil.example"));
  EXPECT_FALSE(admits("evil.example,localhost"));
  EXPECT_FALSE(admits("localhost, localhost"));
}

TEST_F(AllowedHostsTest, BlanksAndControlsAreInNoName) {
  EXPECT_FALSE(admits("local host"));
  EXPECT_FALSE(admits("localhost evil.example"));
  EXPECT_FALSE(admits("localhost\tx"));
  EXPECT_FALSE(admits("localhost\n"));
  EXPECT_FALSE(admits(std::string("localhost\0.evil.example", 23)));
  EXPECT_FALSE(admits(std::string("127.0.0.1\0.evil.example", 23)));
  EXPECT_FALSE(admits(std::string("[::1\0.evil.example]", 19)));
}

TEST_F(AllowedHostsTest, AUserIsPartOfNoHost) {
  EXPECT_FALSE(admits("user@localhost"));
  EXPECT_FALSE(admits("localhost@evil.example"));
  EXPECT_FALSE(admits("user:secret@localhost"));
}

TEST_F(AllowedHostsTest, WhatLooksLikeAnAddressMustBeOne) {
  for (const char* host :
       {"[::1", "::1]", "[]", "[localhost]", "[::1]evil.example", "[::1].evil.example", "::1",
        "[::1]:80x", "[127.0.0.1]", "http://localhost", "localhost/", "localhost:80:80",
        "localhost:8O", "localhost:-1", ":80", "256.1.1.1", "1.2.3"}) {
    EXPECT_FALSE(admits(host)) << host;
  }
}

TEST_F(AllowedHostsTest, EmptyLabelsAndOverlongNamesAreRejected) {
  EXPECT_FALSE(admits(".local"));
  EXPECT_FALSE(admits("a..local"));
  EXPECT_FALSE(admits("-a.local"));
  EXPECT_FALSE(admits(std::string(64, 'a') + ".local"));
  std::string longName = "local";
  while (longName.size() <= 253)
    longName.insert(0, "abcdefgh.");
  EXPECT_FALSE(admits(longName));
  EXPECT_FALSE(admits(std::string(16000, 'a')));
}

}  // namespace
}  // namespace tarvinel
