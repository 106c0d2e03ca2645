#include "core/link/RouteSocket.h"

#include <linux/netlink.h>
#include <linux/rtnetlink.h>
#include <net/if.h>
#include <sys/socket.h>
#include <sys/time.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstdint>
#include <cstring>
#include <map>
#include <optional>
#include <string_view>
#include <system_error>
#include <vector>

namespace tarvinel {

namespace {

constexpr std::size_t datagramBytes = std::size_t{64} << 10;  // the kernel sends 32 KiB at most
constexpr timeval answerLimit{2, 0};
constexpr int maxReads = 5;
constexpr std::uint32_t eventGroups =
    RTMGRP_LINK | RTMGRP_IPV4_IFADDR | RTMGRP_IPV6_IFADDR | RTMGRP_IPV4_ROUTE | RTMGRP_IPV6_ROUTE;

[[noreturn]] void failNetlink(int error, const char* what) {
  throw std::system_error(error, std::system_category(), what);
}

UniqueFd openRouteSocket(std::uint32_t groups, int flags) {
  UniqueFd fd(::socket(AF_NETLINK, SOCK_RAW | SOCK_CLOEXEC | flags, NETLINK_ROUTE));
  if (!fd) failNetlink(errno, "netlink socket");
  sockaddr_nl address{};
  address.nl_family = AF_NETLINK;
  address.nl_groups = groups;
  if (::bind(fd.get(), reinterpret_cast<const sockaddr*>(&address), sizeof address) != 0) {
    failNetlink(errno, "netlink bind");
  }
  return fd;
}

/// Requests everything of one kind; `type` is RTM_GETLINK or the like.
void requestAll(int fd, std::uint16_t type, std::uint32_t sequence) {
  struct {
    nlmsghdr head{};
    rtgenmsg everyFamily{};
    std::array<char, 3> padding{};
  } question;
  question.head.nlmsg_len = sizeof question;
  question.head.nlmsg_type = type;
  question.head.nlmsg_flags = NLM_F_REQUEST | NLM_F_DUMP;
  question.head.nlmsg_seq = sequence;
  if (::send(fd, &question, sizeof question, 0) < 0) failNetlink(errno, "netlink request");
}

/// Returns the next datagram of the kernel; other processes can send to the socket as well.
std::span<const std::byte> receiveResponse(int fd, std::vector<std::byte>& buffer) {
  while (true) {
    sockaddr_nl sender{};
    iovec target{buffer.data(), buffer.size()};
    msghdr message{};
    message.msg_name = &sender;
    message.msg_namelen = sizeof sender;
    message.msg_iov = &target;
    message.msg_iovlen = 1;
    const ssize_t got = ::recvmsg(fd, &message, 0);
    if (got < 0 && errno == EINTR) continue;
    if (got < 0) failNetlink(errno, "netlink answer");
    if ((message.msg_flags & MSG_TRUNC) != 0) failNetlink(EMSGSIZE, "netlink answer");
    if (sender.nl_pid == 0) return {buffer.data(), static_cast<std::size_t>(got)};
  }
}

enum class Reply { complete, changedMeanwhile };

Reply readResponse(int fd, std::uint32_t sequence, std::vector<std::byte>& buffer,
                   NetworkInfo& info) {
  Reply reply = Reply::complete;
  while (true) {
    for (const NetlinkMessage& message : netlinkMessages(receiveResponse(fd, buffer))) {
      if (message.sequence != sequence) continue;
      if (message.type == NLMSG_ERROR) failNetlink(EPROTO, "netlink answer");
      if ((message.flags & NLM_F_DUMP_INTR) != 0) reply = Reply::changedMeanwhile;
      if (message.type == NLMSG_DONE) return reply;
      addTo(info, message);
    }
  }
}

}  // namespace

NetworkInfo readNetworkInfo() {
  const UniqueFd fd = openRouteSocket(0, 0);
  ::setsockopt(fd.get(), SOL_SOCKET, SO_RCVTIMEO, &answerLimit, sizeof answerLimit);
  std::vector<std::byte> buffer(datagramBytes);
  std::uint32_t sequence = 0;
  NetworkInfo info;
  for (int reads = 0; reads < maxReads; ++reads) {
    info = {};
    bool changed = false;
    for (const std::uint16_t type : {RTM_GETLINK, RTM_GETADDR, RTM_GETROUTE}) {
      requestAll(fd.get(), type, ++sequence);
      changed |= readResponse(fd.get(), sequence, buffer, info) == Reply::changedMeanwhile;
    }
    if (!changed) break;
  }
  return info;  // if it is still changing, an event leads to another read
}

UniqueFd openNetworkEvents(std::optional<int> receiveBuffer) {
  UniqueFd fd = openRouteSocket(eventGroups, SOCK_NONBLOCK);
  if (receiveBuffer) {
    ::setsockopt(fd.get(), SOL_SOCKET, SO_RCVBUF, &*receiveBuffer, sizeof *receiveBuffer);
  }
  return fd;
}

bool drainNetworkEvents(int events) {
  std::array<std::byte, 4096> dropped{};
  while (true) {
    if (::recv(events, dropped.data(), dropped.size(), 0) >= 0) continue;
    if (errno == EAGAIN) return true;
    if (errno != EINTR && errno != ENOBUFS) return false;
  }
}

namespace {

using ByteSpan = std::span<const std::byte>;

constexpr std::size_t alignment = 4;

/// Removes and returns the record at the front of `bytes`, or nullopt if they are too few.
template <class Record>
std::optional<Record> takeRecord(ByteSpan& bytes) {
  if (bytes.size() < sizeof(Record)) return std::nullopt;
  Record record;
  std::memcpy(&record, bytes.data(), sizeof record);
  bytes = bytes.subspan(sizeof record);
  return record;
}

/// Returns `bytes` without the first `length` and the padding behind them, or an empty span.
ByteSpan bytesAfter(ByteSpan bytes, std::size_t length) {
  const std::size_t aligned = (length + alignment - 1) / alignment * alignment;
  return bytes.subspan(std::min(aligned, bytes.size()));
}

/// Returns the attributes by type, the last of repeated ones; stops at the first truncated one.
std::map<int, ByteSpan> attributesOf(ByteSpan bytes) {
  std::map<int, ByteSpan> found;
  while (true) {
    ByteSpan rest = bytes;
    const auto head = takeRecord<rtattr>(rest);
    if (!head || head->rta_len < sizeof(rtattr) || head->rta_len > bytes.size()) return found;
    found[head->rta_type & NLA_TYPE_MASK] = rest.first(head->rta_len - sizeof(rtattr));
    bytes = bytesAfter(bytes, head->rta_len);
  }
}

template <class Number>
std::optional<Number> numberIn(const std::map<int, ByteSpan>& attributes, int type) {
  const auto found = attributes.find(type);
  if (found == attributes.end()) return std::nullopt;
  ByteSpan bytes = found->second;
  return takeRecord<Number>(bytes);
}

/// Returns whether `name` is safe in a path.
bool isInterfaceName(std::string_view name) {
  return !name.empty() && name.size() < IFNAMSIZ && name != "." && name != ".." &&
         name.find('/') == std::string_view::npos;
}

std::string_view attributeText(ByteSpan bytes) {
  const std::string_view all(reinterpret_cast<const char*>(bytes.data()), bytes.size());
  return all.substr(0, all.find('\0'));
}

void addLink(NetworkInfo& info, ByteSpan body) {
  const auto head = takeRecord<ifinfomsg>(body);
  if (!head) return;
  const auto found = attributesOf(body);
  const auto name = found.find(IFLA_IFNAME);
  if (name == found.end() || !isInterfaceName(attributeText(name->second))) return;
  const bool carries = (head->ifi_flags & IFF_UP) != 0 && (head->ifi_flags & IFF_RUNNING) != 0 &&
                       (head->ifi_flags & IFF_LOOPBACK) == 0;
  info.links.push_back({head->ifi_index, std::string(attributeText(name->second)), carries});
}

void addAddress(NetworkInfo& info, ByteSpan body) {
  const auto head = takeRecord<ifaddrmsg>(body);
  if (!head || head->ifa_scope == RT_SCOPE_HOST) return;
  // every interface has a link-local IPv6 address, which is no information
  if (head->ifa_family == AF_INET6 && head->ifa_scope == RT_SCOPE_LINK) return;
  info.linksWithAddress.insert(static_cast<int>(head->ifa_index));
}

/// Returns the links of a multipath route.
std::vector<int> nextHops(ByteSpan bytes) {
  std::vector<int> links;
  while (true) {
    ByteSpan rest = bytes;
    const auto hop = takeRecord<rtnexthop>(rest);
    if (!hop || hop->rtnh_len < sizeof(rtnexthop) || hop->rtnh_len > bytes.size()) return links;
    if ((hop->rtnh_flags & RTNH_F_DEAD) == 0) links.push_back(hop->rtnh_ifindex);
    bytes = bytesAfter(bytes, hop->rtnh_len);
  }
}

std::vector<int> linksOf(const std::map<int, ByteSpan>& attributes) {
  if (const auto link = numberIn<std::int32_t>(attributes, RTA_OIF)) return {*link};
  const auto several = attributes.find(RTA_MULTIPATH);
  if (several == attributes.end()) return {};
  return nextHops(several->second);
}

/// Accepts the main table only: a VPN with a table of its own has no hardware below either.
bool isLiveDefaultRoute(const rtmsg& route) {
  const bool isKnownFamily = route.rtm_family == AF_INET || route.rtm_family == AF_INET6;
  return isKnownFamily && route.rtm_dst_len == 0 && route.rtm_type == RTN_UNICAST &&
         route.rtm_table == RT_TABLE_MAIN && (route.rtm_flags & (RTM_F_CLONED | RTNH_F_DEAD)) == 0;
}

void addRoute(NetworkInfo& info, ByteSpan body) {
  const auto head = takeRecord<rtmsg>(body);
  if (!head || !isLiveDefaultRoute(*head)) return;
  const auto found = attributesOf(body);
  const auto family =
      head->rtm_family == AF_INET ? NetworkInfo::Family::ipv4 : NetworkInfo::Family::ipv6;
  const auto metric = numberIn<std::uint32_t>(found, RTA_PRIORITY).value_or(0);
  for (const int link : linksOf(found))
    info.defaultRoutes.push_back({family, metric, link});
}

}  // namespace

std::vector<NetlinkMessage> netlinkMessages(ByteSpan datagram) {
  std::vector<NetlinkMessage> messages;
  while (true) {
    ByteSpan rest = datagram;
    const auto head = takeRecord<nlmsghdr>(rest);
    if (!head || head->nlmsg_len < sizeof(nlmsghdr) || head->nlmsg_len > datagram.size()) {
      return messages;
    }
    messages.push_back({head->nlmsg_type, head->nlmsg_flags, head->nlmsg_seq,
                        rest.first(head->nlmsg_len - sizeof(nlmsghdr))});
    datagram = bytesAfter(datagram, head->nlmsg_len);
  }
}

void addTo(NetworkInfo& info, const NetlinkMessage& message) {
  if (message.type == RTM_NEWLINK) addLink(info, message.body);
  if (message.type == RTM_NEWADDR) addAddress(info, message.body);
  if (message.type == RTM_NEWROUTE) addRoute(info, message.body);
}

}  // namespace tarvinel
