#pragma once

#include <cstdint>
#include <filesystem>
#include <stdexcept>
#include <string>

namespace tarvinel {

/// Why bytes of an upload did not reach the disk.
class UploadSinkError : public std::runtime_error {
 public:
  enum class Case : std::uint8_t {
    ioFailure,  ///< the file system refused
    closed,     ///< the sink had been finished or aborted before
  };

  static UploadSinkError couldNotOpen(const std::filesystem::path& path) {
    return {Case::ioFailure, "could not open " + path.string() + " for writing"};
  }
  static UploadSinkError ioFailure(const std::string& description) {
    return {Case::ioFailure, description};
  }
  static UploadSinkError closed() { return {Case::closed, "the upload has ended"}; }

  Case kind() const { return kind_; }
  bool operator==(const UploadSinkError& other) const {
    return kind_ == other.kind_ && std::string_view(what()) == other.what();
  }

 private:
  UploadSinkError(Case kind, const std::string& text) : std::runtime_error(text), kind_(kind) {}

  Case kind_;
};

}  // namespace tarvinel
