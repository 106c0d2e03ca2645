#pragma once

#include "core/support/Geometry.h"

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace tarvinel {

struct AppSource;

/// The properties of a display from which the sources are computed.
struct DisplayCandidate {
  std::uint32_t displayID = 0;
  Rect frame;  ///< global screen points
  bool isMain = false;

  bool operator==(const DisplayCandidate&) const = default;
};

/// The properties of a window from which the sources are computed.
struct WindowCandidate {
  std::uint32_t windowID = 0;
  std::optional<std::string> title;
  std::optional<std::string> appName;   ///< the owning application's display name
  std::optional<std::string> bundleID;  ///< the owning application's identifier
  std::int32_t processID = 0;           ///< 0 without an owning application
  std::int64_t layer = 0;               ///< 0 is the normal application layer
  Rect frame;                           ///< global screen points
  bool hasApp = false;

  bool operator==(const WindowCandidate&) const = default;
};

/// One entry of the presenter's list of things to share. Plain value; all functions are pure.
struct CaptureSource {
  enum class Kind : std::uint8_t { display, window, app };

  std::string id;  ///< "display-", "app-" or "window-" and a number
  Kind kind = Kind::display;
  std::string title;  ///< UTF-8
  Size size;          ///< points; what will be captured

  bool operator==(const CaptureSource&) const = default;

  static std::string displayID(std::uint32_t number);
  static std::string windowID(std::uint32_t number);
  static std::string appID(std::int32_t processID);

  /// Returns the entry of a display; `position` counts from 1.
  static CaptureSource displaySource(const DisplayCandidate& display, std::size_t position);

  /// Returns the entries of the windows worth sharing, sorted by application name, title and
  /// number. `excludingBundleID` is the program's own identifier.
  static std::vector<CaptureSource> windowSources(
      const std::vector<WindowCandidate>& windows,
      const std::optional<std::string>& excludingBundleID);

  /// Returns the entries of the applications that own such windows, each on the display that
  /// contains the center of its largest window, sorted by title and process.
  static std::vector<AppSource> appSources(const std::vector<WindowCandidate>& windows,
                                           const std::vector<DisplayCandidate>& displays,
                                           const std::optional<std::string>& excludingBundleID);

  /// Returns the same entries with displays first, then applications, then windows; stable.
  static std::vector<CaptureSource> menuOrder(std::vector<CaptureSource> sources);
};

/// An application's entry with the information needed to capture it.
struct AppSource {
  CaptureSource source;
  std::int32_t processID = 0;
  std::uint32_t displayID = 0;  ///< the display on which it is captured

  bool operator==(const AppSource&) const = default;
};

}  // namespace tarvinel
