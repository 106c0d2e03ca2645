#include "tests/support/TemporaryFolder.h"

#include <unistd.h>

#include <algorithm>
#include <cstdlib>
#include <fstream>
#include <sstream>
#include <stdexcept>
#include <system_error>

namespace tarvinel::test {

TemporaryFolder::TemporaryFolder() {
  std::string name = (std::filesystem::temp_directory_path() / "tarvinel-test-XXXXXX").string();
  if (mkdtemp(name.data()) == nullptr) throw std::runtime_error("no temporary folder");
  path_ = std::filesystem::canonical(name);
}

TemporaryFolder::~TemporaryFolder() {
  std::error_code ignored;
  std::filesystem::remove_all(path_, ignored);
}

void TemporaryFolder::write(std::string_view name, std::string_view content) const {
  const std::filesystem::path file = path_ / name;
  std::filesystem::create_directories(file.parent_path());
  std::ofstream(file, std::ios::binary) << content;
}

std::string TemporaryFolder::read(std::string_view name) const {
  return contentOf(path_ / name);
}

std::vector<std::string> TemporaryFolder::files() const {
  std::vector<std::string> names;
  for (const auto& entry : std::filesystem::recursive_directory_iterator(path_)) {
    if (!entry.is_directory()) names.push_back(entry.path().lexically_relative(path_).string());
  }
  std::ranges::sort(names);
  return names;
}

std::string contentOf(const std::filesystem::path& file) {
  std::ostringstream content;
  content << std::ifstream(file, std::ios::binary).rdbuf();
  return content.str();
}

}  // namespace tarvinel::test
