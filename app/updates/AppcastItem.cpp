#include "app/updates/AppcastItem.h"

#include "core/support/ASCII.h"

#include <algorithm>
#include <cstddef>
#include <vector>

namespace tarvinel {

namespace {

constexpr std::size_t maxVersionLength = 64;
constexpr std::string_view digits = "0123456789";

bool isDigit(char c) {
  return digits.find(c) != std::string_view::npos;
}

bool isLetter(char c) {
  return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z');
}

bool mayBeInVersion(char c) {
  return isDigit(c) || isLetter(c) || std::string_view(".-_~+").find(c) != std::string_view::npos;
}

std::string_view withoutPrefix(std::string_view version) {
  if (!version.empty() && (version.front() == 'v' || version.front() == 'V')) {
    version.remove_prefix(1);
  }
  return version;
}

/// Splits the text into its longest runs of only digits or only letters.
std::vector<std::string_view> runsOf(std::string_view text) {
  std::vector<std::string_view> runs;
  while (!text.empty()) {
    const auto isOfRun = isDigit(text.front()) ? isDigit : isLetter;
    const auto end = std::ranges::find_if_not(text, isOfRun);
    const auto length = static_cast<std::size_t>(end - text.begin());
    if (length > 0) runs.push_back(text.substr(0, length));
    text.remove_prefix(std::max<std::size_t>(length, 1));
  }
  return runs;
}

struct Runs {
  std::vector<std::string_view> release;
  std::vector<std::string_view> suffix;
};

Runs runsOfVersion(std::string_view version) {
  version = withoutPrefix(version);
  version = version.substr(0, version.find('+'));
  const auto suffix = std::min(version.find_first_not_of("0123456789."), version.size());
  return {runsOf(version.substr(0, suffix)), runsOf(version.substr(suffix))};
}

std::weak_ordering compareNumbers(std::string_view one, std::string_view other) {
  one.remove_prefix(std::min(one.find_first_not_of('0'), one.size()));
  other.remove_prefix(std::min(other.find_first_not_of('0'), other.size()));
  if (one.size() != other.size()) return one.size() <=> other.size();
  return one <=> other;
}

std::weak_ordering compareReleases(std::vector<std::string_view> one,
                                   std::vector<std::string_view> other) {
  const auto count = std::max(one.size(), other.size());
  one.resize(count, "0");
  other.resize(count, "0");
  return std::lexicographical_compare_three_way(one.begin(), one.end(), other.begin(), other.end(),
                                                compareNumbers);
}

std::weak_ordering compareRuns(std::string_view one, std::string_view other) {
  const bool isNumber = isDigit(one.front());
  if (isNumber != isDigit(other.front())) {
    return isNumber ? std::weak_ordering::less : std::weak_ordering::greater;
  }
  return isNumber ? compareNumbers(one, other) : asciiLowercased(one) <=> asciiLowercased(other);
}

std::weak_ordering compareSuffixes(const std::vector<std::string_view>& one,
                                   const std::vector<std::string_view>& other) {
  if (one.empty() || other.empty()) return one.empty() <=> other.empty();
  return std::lexicographical_compare_three_way(one.begin(), one.end(), other.begin(), other.end(),
                                                compareRuns);
}

}  // namespace

bool VersionOrder::isVersion(std::string_view text) {
  if (text.size() > maxVersionLength || !std::ranges::all_of(text, mayBeInVersion)) return false;
  const auto number = withoutPrefix(text);
  return !number.empty() && isDigit(number.front());
}

std::weak_ordering VersionOrder::compare(std::string_view one, std::string_view other) {
  const Runs first = runsOfVersion(one);
  const Runs second = runsOfVersion(other);
  const auto releases = compareReleases(first.release, second.release);
  return std::is_neq(releases) ? releases : compareSuffixes(first.suffix, second.suffix);
}

}  // namespace tarvinel
