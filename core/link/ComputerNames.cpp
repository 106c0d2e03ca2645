#include "core/link/ComputerNames.h"

#include <unistd.h>

#include <algorithm>
#include <array>
#include <fstream>
#include <sstream>

namespace tarvinel {

namespace {

/// What follows the address in a line.
std::vector<std::string> namesIn(const std::string& line) {
  std::istringstream words(line.substr(0, line.find('#')));
  std::string word;
  words >> word;
  std::vector<std::string> names;
  while (words >> word)
    names.push_back(word);
  return names;
}

}  // namespace

std::vector<std::string> namesOfThisComputer(const std::filesystem::path& hostsFile) {
  std::array<char, 256> name{};
  if (gethostname(name.data(), name.size() - 1) != 0) return {};
  return namesOf(name.data(), hostsFile);
}

std::vector<std::string> namesOf(const std::string& hostName,
                                 const std::filesystem::path& hostsFile) {
  std::vector<std::string> names{hostName};
  std::ifstream file(hostsFile);
  for (std::string line; std::getline(file, line);) {
    const auto found = namesIn(line);
    if (std::ranges::find(found, hostName) == found.end()) continue;
    names.insert(names.end(), found.begin(), found.end());
  }
  return names;
}

}  // namespace tarvinel
