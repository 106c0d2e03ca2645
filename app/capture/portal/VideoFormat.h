#pragma once

#include "core/support/Geometry.h"

#include <cstdint>
#include <optional>
#include <vector>

struct spa_pod;

namespace tarvinel::portal {

/// The supported layouts of a pixel: four bytes, the fourth is padding or alpha.
enum class PixelOrder : std::uint8_t { bgr, rgb };

/// The format of a stream's pictures. Plain value.
struct VideoFormat {
  PixelOrder order = PixelOrder::bgr;
  std::int32_t width = 0;   ///< pixels, 1 to `longest`
  std::int32_t height = 0;  ///< likewise

  static constexpr std::uint32_t longest = 16384;

  bool operator==(const VideoFormat&) const = default;

  /// Reads a stream's format; returns nullopt if it is not a supported one.
  static std::optional<VideoFormat> read(const spa_pod& format);
};

/// A stream parameter that this program builds.
class StreamParameter {
 public:
  /// Returns the supported formats, with at most so many pictures per second, 1 at least.
  static StreamParameter formats(std::int32_t framesPerSecond);

  /// Returns the kinds of memory in which pictures may come: only those that can be read.
  static StreamParameter buffers();

  /// Returns the request for a kind of metadata (SPA_META_*) of at most so many bytes per picture.
  static StreamParameter metadata(std::uint32_t type, std::uint32_t minBytes,
                                  std::uint32_t maxBytes);

  /// Returns the pod, which is valid as long as this object.
  const spa_pod* pod() const;

 private:
  StreamParameter() : storage_(128) {}

  std::vector<std::uint64_t> storage_;  ///< aligned as needed
};

}  // namespace tarvinel::portal
