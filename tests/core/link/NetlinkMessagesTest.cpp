#include "core/link/RouteSocket.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <linux/rtnetlink.h>
#include <net/if.h>
#include <sys/socket.h>

#include <cstring>
#include <random>
#include <string>
#include <string_view>
#include <vector>

namespace tarvinel {
namespace {

using enum NetworkInfo::Family;
using testing::ElementsAre;
using testing::IsEmpty;

using Octets = std::vector<std::byte>;
using Link = NetworkInfo::Link;
using DefaultRoute = NetworkInfo::DefaultRoute;

template <class Record>
Octets octets(const Record& record) {
  const auto* begin = reinterpret_cast<const std::byte*>(&record);
  return {begin, begin + sizeof record};
}

Octets octetsOfText(std::string_view text) {
  const auto* begin = reinterpret_cast<const std::byte*>(text.data());
  return {begin, begin + text.size()};
}

Octets operator+(Octets left, const Octets& right) {
  left.insert(left.end(), right.begin(), right.end());
  while (left.size() % 4 != 0)
    left.push_back({});
  return left;
}

Octets attribute(int type, const Octets& value) {
  return octets(rtattr{static_cast<unsigned short>(sizeof(rtattr) + value.size()),
                       static_cast<unsigned short>(type)}) +
         value;
}

Octets message(int type, const Octets& body) {
  nlmsghdr head{};
  head.nlmsg_len = static_cast<std::uint32_t>(sizeof head + body.size());
  head.nlmsg_type = static_cast<std::uint16_t>(type);
  return octets(head) + body;
}

Octets link(int index, std::string_view name, unsigned flags = IFF_UP | IFF_RUNNING) {
  ifinfomsg head{};
  head.ifi_index = index;
  head.ifi_flags = flags;
  return message(RTM_NEWLINK, octets(head) + attribute(IFLA_MTU, octets(std::uint32_t{1500})) +
                                  attribute(IFLA_IFNAME, octetsOfText(std::string(name) + '\0')));
}

Octets address(int index, int family = AF_INET, int scope = RT_SCOPE_UNIVERSE) {
  ifaddrmsg head{};
  head.ifa_family = static_cast<std::uint8_t>(family);
  head.ifa_scope = static_cast<std::uint8_t>(scope);
  head.ifa_index = static_cast<std::uint32_t>(index);
  return message(RTM_NEWADDR, octets(head));
}

rtmsg defaultRoute(int family = AF_INET) {
  rtmsg head{};
  head.rtm_family = static_cast<std::uint8_t>(family);
  head.rtm_table = RT_TABLE_MAIN;
  head.rtm_type = RTN_UNICAST;
  return head;
}

Octets route(const rtmsg& head, int index, std::uint32_t metric) {
  return message(RTM_NEWROUTE, octets(head) + attribute(RTA_PRIORITY, octets(metric)) +
                                   attribute(RTA_OIF, octets(std::int32_t{index})));
}

Octets nextHop(int index, int flags = 0) {
  rtnexthop hop{};
  hop.rtnh_len = sizeof hop;
  hop.rtnh_flags = static_cast<unsigned char>(flags);
  hop.rtnh_ifindex = index;
  return octets(hop);
}

NetworkInfo metadataOf(std::span<const std::byte> datagram) {
  NetworkInfo info;
  for (const NetlinkMessage& found : netlinkMessages(datagram))
    addTo(info, found);
  return info;
}

/// Returns one message of each kind.
Octets everything() {
  const Octets several = message(
      RTM_NEWROUTE, octets(defaultRoute()) + attribute(RTA_MULTIPATH, nextHop(5) + nextHop(6)));
  return link(2, "eth0") + address(2) + route(defaultRoute(), 2, 100) + several;
}

TEST(NetlinkMessages, LinksAddressesAndDefaultRoutesAreTaken) {
  const NetworkInfo info = metadataOf(everything());
  EXPECT_THAT(info.links, ElementsAre(Link{2, "eth0", true}));
  EXPECT_THAT(info.linksWithAddress, ElementsAre(2));
  EXPECT_THAT(info.defaultRoutes, ElementsAre(DefaultRoute{ipv4, 100, 2}, DefaultRoute{ipv4, 0, 5},
                                              DefaultRoute{ipv4, 0, 6}));
}

TEST(NetlinkMessages, ALinkCarriesWhenItIsUpAndRunningAndNotLoopback) {
  EXPECT_FALSE(metadataOf(link(1, "lo", IFF_UP | IFF_RUNNING | IFF_LOOPBACK)).links.at(0).carries);
  EXPECT_FALSE(metadataOf(link(2, "eth0", IFF_UP)).links.at(0).carries);
  EXPECT_FALSE(metadataOf(link(2, "eth0", IFF_RUNNING)).links.at(0).carries);
  EXPECT_TRUE(metadataOf(link(2, "eth0", IFF_UP | IFF_RUNNING)).links.at(0).carries);
}

TEST(NetlinkMessages, ANameThatCouldLeaveItsFolderIsNoInterface) {
  for (const char* name : {"", ".", "..", "../../etc", "a/b", "longer-than-any-name"})
    EXPECT_THAT(metadataOf(link(2, name)).links, IsEmpty()) << name;
}

TEST(NetlinkMessages, AddressesOfTheHostOrTheLinkAloneSayNothing) {
  EXPECT_THAT(metadataOf(address(1, AF_INET, RT_SCOPE_HOST)).linksWithAddress, IsEmpty());
  EXPECT_THAT(metadataOf(address(2, AF_INET6, RT_SCOPE_LINK)).linksWithAddress, IsEmpty());
  EXPECT_THAT(metadataOf(address(2, AF_INET6)).linksWithAddress, ElementsAre(2));
  // self-assigned addresses, on a cable between two computers, count
  EXPECT_THAT(metadataOf(address(2, AF_INET, RT_SCOPE_LINK)).linksWithAddress, ElementsAre(2));
}

TEST(NetlinkMessages, AnIPv6DefaultRouteIsTaken) {
  EXPECT_THAT(metadataOf(route(defaultRoute(AF_INET6), 3, 1024)).defaultRoutes,
              ElementsAre(DefaultRoute{ipv6, 1024, 3}));
}

TEST(NetlinkMessages, OtherRoutesAreNot) {
  std::vector<rtmsg> others(6, defaultRoute());
  others[0].rtm_dst_len = 24;
  others[1].rtm_type = RTN_UNREACHABLE;
  others[2].rtm_table = RT_TABLE_LOCAL;
  others[3].rtm_flags = RTNH_F_DEAD;
  others[4].rtm_flags = RTM_F_CLONED;
  others[5].rtm_family = AF_DECnet;
  for (const rtmsg& head : others)
    EXPECT_THAT(metadataOf(route(head, 2, 0)).defaultRoutes, IsEmpty());
  EXPECT_THAT(metadataOf(message(RTM_NEWROUTE, octets(defaultRoute()))).defaultRoutes, IsEmpty());
}

TEST(NetlinkMessages, ADeadPathOfARouteOverSeveralIsLeftOut) {
  const Octets hops = nextHop(5, RTNH_F_DEAD) + nextHop(6);
  const Octets several =
      message(RTM_NEWROUTE, octets(defaultRoute()) + attribute(RTA_MULTIPATH, hops));
  EXPECT_THAT(metadataOf(several).defaultRoutes, ElementsAre(DefaultRoute{ipv4, 0, 6}));
}

TEST(NetlinkMessages, OtherMessagesChangeNothing) {
  EXPECT_EQ(metadataOf(message(RTM_DELLINK, octets(ifinfomsg{}))), NetworkInfo{});
  EXPECT_EQ(metadataOf(message(NLMSG_DONE, {})), NetworkInfo{});
}

TEST(NetlinkMessages, WhatIsCutOffIsLeftOut) {
  const Octets whole = everything();
  const NetworkInfo all = metadataOf(whole);
  for (std::size_t length = 0; length < whole.size(); ++length) {
    const Octets cut(whole.begin(), whole.begin() + static_cast<std::ptrdiff_t>(length));
    EXPECT_NE(metadataOf(cut), all) << length;
  }
}

TEST(NetlinkMessages, LengthsThatAreNonsenseEndTheReading) {
  for (const std::uint32_t length : {0U, 1U, 15U, 4000U, 0xFFFFFFFFU}) {
    Octets datagram = link(2, "eth0");
    std::memcpy(datagram.data(), &length, sizeof length);
    EXPECT_EQ(metadataOf(datagram), NetworkInfo{}) << length;
  }
  const std::size_t firstAttribute = sizeof(nlmsghdr) + sizeof(ifinfomsg);
  for (const int wrong : {0, 3, 5000, 0xFFFF}) {
    const auto length = static_cast<std::uint16_t>(wrong);
    Octets datagram = link(2, "eth0");
    std::memcpy(datagram.data() + firstAttribute, &length, sizeof length);
    EXPECT_EQ(metadataOf(datagram), NetworkInfo{}) << length;
  }
}

// The sanitizers detect invalid reads here.
TEST(NetlinkMessages, RubbishIsSurvived) {
  std::mt19937 random(1);
  for (int round = 0; round < 20000; ++round) {
    Octets datagram = everything();
    for (int flips = 0; flips < 4; ++flips)
      datagram[random() % datagram.size()] = static_cast<std::byte>(random());
    datagram.resize(random() % (datagram.size() + 1));
    EXPECT_LE(metadataOf(datagram).links.size(), 1U);
  }
}

}  // namespace
}  // namespace tarvinel
