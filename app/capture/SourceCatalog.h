#pragma once

#include "app/capture/CaptureSource.h"
#include "app/capture/ScreenCaptureService.h"

#include <cstddef>
#include <optional>
#include <string>
#include <unordered_map>
#include <vector>

namespace tarvinel {

/// One listing of what can be shared: the presenter's entries, and how each is captured. Immutable
/// value.
class SourceCatalog {
 public:
  SourceCatalog() = default;

  /// A source and how it is captured.
  struct Entry {
    CaptureSource source;
    ContentFilter filter;
  };

  /// `excludingBundleID` is the program's own identifier, whose windows are left out. `shared` is
  /// being captured: it stays in the list unchanged for as long as it exists, even if it is
  /// minimised or would be left out for another reason.
  SourceCatalog(const ShareableContent& content,
                const std::optional<std::string>& excludingBundleID,
                const std::vector<Entry>& shared = {});

  /// Returns the entries in menu order.
  const std::vector<CaptureSource>& sources() const { return sources_; }

  std::size_t count(CaptureSource::Kind kind) const;

  /// Returns how the source with that ID is captured, or nullopt if it is not in this listing.
  std::optional<ContentFilter> filter(const std::string& id) const;

 private:
  void add(CaptureSource source, const ContentFilter& filter);
  bool lists(const CaptureSource& source) const;

  std::vector<CaptureSource> sources_;
  std::unordered_map<std::string, ContentFilter> filters_;
};

}  // namespace tarvinel
