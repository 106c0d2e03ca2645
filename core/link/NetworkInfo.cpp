#include "core/link/NetworkInfo.h"

#include <algorithm>
#include <iterator>
#include <utility>

namespace tarvinel {

namespace {

using Link = NetworkInfo::Link;
using DefaultRoute = NetworkInfo::DefaultRoute;

/// Returns indices in order of preference; an index can occur twice.
std::vector<int> linksByPreference(const NetworkInfo& info) {
  std::vector<DefaultRoute> routes = info.defaultRoutes;
  std::ranges::stable_sort(routes, [](const DefaultRoute& a, const DefaultRoute& b) {
    return std::pair(a.family, a.metric) < std::pair(b.family, b.metric);
  });
  std::vector<int> indices;
  std::ranges::transform(routes, std::back_inserter(indices), &DefaultRoute::link);
  std::ranges::copy(info.linksWithAddress, std::back_inserter(indices));
  return indices;
}

}  // namespace

std::vector<std::string> interfacesByPreference(const NetworkInfo& info) {
  std::vector<std::string> names;
  std::set<int> seen;
  for (const int index : linksByPreference(info)) {
    const auto link = std::ranges::find(info.links, index, &Link::index);
    if (link == info.links.end() || !link->carries) continue;
    if (seen.insert(index).second) names.push_back(link->name);
  }
  return names;
}

}  // namespace tarvinel
