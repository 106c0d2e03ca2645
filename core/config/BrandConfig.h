#pragma once

#include "core/support/Bytes.h"

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>

namespace tarvinel {

/// A maker's or user's mark on the pages; every entry is optional. A plain value; the texts are as
/// they stand in the configuration and may hold any UTF-8.
struct BrandConfig {
  std::optional<std::string> name = {};          ///< shown if there is no image; titles the pages
  std::optional<std::string> waiting = {};       ///< on the idle screen while nothing is shared
  std::optional<std::string> disconnected = {};  ///< shown while a viewer reconnects
  std::optional<std::string> image = {};         ///< path of a logo file on this computer
  std::optional<std::string> font = {};          ///< path of a web font file on this computer
  std::optional<std::string> color = {};         ///< accent colour, "#rrggbb"

  struct Assets;

  bool operator==(const BrandConfig&) const = default;

  /// Returns whether it is exactly "#rrggbb", in either case: safe in a style sheet unescaped.
  static bool isValidColor(std::string_view color);

  /// Returns a copy whose `image` and `font` have a leading tilde expanded to the user's home.
  BrandConfig expandingPaths() const;
};

/// The brand's files in memory, so that viewers need no internet access.
struct BrandConfig::Assets {
  struct File {
    Bytes bytes;
    std::string contentType;

    bool operator==(const File&) const = default;
  };

  std::optional<File> image;
  std::optional<File> font;

  bool operator==(const Assets&) const = default;

  /// The largest file that is loaded, in bytes.
  static constexpr std::size_t maxBytes = std::size_t{10} << 20;

  /// Returns assets without any file.
  static Assets none() { return {}; }

  /// Reads the files of a brand. A file that is missing, unreadable, too large or of an unknown
  /// type is left out. Blocks.
  static Assets load(const std::optional<BrandConfig>& brand);
};

}  // namespace tarvinel
