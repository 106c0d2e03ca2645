#pragma once

#include <cstdint>
#include <filesystem>
#include <string>
#include <string_view>
#include <vector>

namespace tarvinel::test {

/// A new folder that the destructor removes with everything in it.
class TemporaryFolder {
 public:
  TemporaryFolder();
  ~TemporaryFolder();
  TemporaryFolder(const TemporaryFolder&) = delete;
  TemporaryFolder& operator=(const TemporaryFolder&) = delete;

  const std::filesystem::path& path() const { return path_; }
  std::filesystem::path operator/(std::string_view name) const { return path_ / name; }

  /// Writes a file, creating its parent folders, and returns its path.
  std::filesystem::path write(std::string_view name, std::string_view content) const;
  std::string read(std::string_view name) const;

  /// Returns everything in it and below, hidden files too, as relative paths in order.
  std::vector<std::string> files() const;

 private:
  std::filesystem::path path_;
};

/// Returns the content of a file.
std::string contentOf(const std::filesystem::path& file);

}  // namespace tarvinel::test
