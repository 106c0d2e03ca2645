#pragma once

#include <cstdint>
#include <filesystem>
#include <stdexcept>
#include <string>

namespace tarvinel {

/// Why the upload folder has no place for a file. The text is what the presenter is shown.
class UploadStoreError : public std::runtime_error {
 public:
  enum class Case : std::uint8_t { pathEscapesRoot, collisionExhausted, rootUnavailable };

  static UploadStoreError pathEscapesRoot(const std::filesystem::path& path);
  static UploadStoreError collisionExhausted(const std::string& name);
  static UploadStoreError rootUnavailable(const std::filesystem::path& path);

  Case kind() const { return kind_; }

 private:
  UploadStoreError(Case kind, const std::string& text) : std::runtime_error(text), kind_(kind) {}

  Case kind_;
};

}  // namespace tarvinel
