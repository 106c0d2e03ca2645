#pragma once

#include <filesystem>
#include <string>
#include <vector>

namespace tarvinel {

/// The names of this computer that it knows by itself: its host name, and the names that stand in
/// one line with that in `hostsFile` (hosts(5)), where its name with the domain usually is. Asks no
/// name server.
std::vector<std::string> namesOfThisComputer(const std::filesystem::path& hostsFile = "/etc/hosts");

/// The same for a computer with this host name.
std::vector<std::string> namesOf(const std::string& hostName,
                                 const std::filesystem::path& hostsFile);

}  // namespace tarvinel
