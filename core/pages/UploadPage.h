#pragma once

#include <string>

namespace tarvinel {

/// Renders the page from which participants send their photos. Self-contained but for
/// "/upload/status" and the uploads themselves. Static and pure.
class UploadPage {
 public:
  UploadPage() = delete;

  static std::string html();
};

}  // namespace tarvinel
