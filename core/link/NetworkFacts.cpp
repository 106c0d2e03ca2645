#include "core/link/NetworkFacts.h"

#include <algorithm>
#include <iterator>
#include <utility>

namespace tarvinel {

namespace {

using Link = NetworkFacts::Link;
using DefaultRoute = NetworkFacts::DefaultRoute;

/// Indices, the best first; one may come twice.
std::vector<int> linksByPreference(const NetworkFacts& facts) {
  std::vector<DefaultRoute> routes = facts.defaultRoutes;
  std::ranges::stable_sort(routes, [](const DefaultRoute& a, const DefaultRoute& b) {
    return std::pair(a.family, a.metric) < std::pair(b.family, b.metric);
  });
  std::vector<int> indices;
  std::ranges::transform(routes, std::back_inserter(indices), &DefaultRoute::link);
  std::ranges::copy(facts.linksWithAddress, std::back_inserter(indices));
  return indices;
}

}  // namespace

std::vector<std::string> interfacesByPreference(const NetworkFacts& facts) {
  std::vector<std::string> names;
  std::set<int> seen;
  for (const int index : linksByPreference(facts)) {
    const auto link = std::ranges::find(facts.links, index, &Link::index);
    if (link == facts.links.end() || !link->carries) continue;
    if (seen.insert(index).second) names.push_back(link->name);
  }
  return names;
}

}  // namespace tarvinel
