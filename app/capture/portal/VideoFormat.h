#pragma once

#include "core/support/Geometry.h"

#include <cstdint>
#include <optional>
#include <vector>

struct spa_pod;

namespace tarvinel::portal {

/// The layouts of a pixel that are taken: four bytes, the fourth is padding or alpha.
enum class PixelOrder : std::uint8_t { bgr, rgb };

/// How the pictures of a stream come. Plain value.
struct VideoFormat {
  PixelOrder order = PixelOrder::bgr;
  std::int32_t width = 0;   ///< pixels, 1 to `longest`
  std::int32_t height = 0;  ///< likewise

  static constexpr std::uint32_t longest = 16384;

  bool operator==(const VideoFormat&) const = default;

  /// Reads a stream's format; none when it is not one of those that were offered.
  static std::optional<VideoFormat> read(const spa_pod& format);
};

/// A parameter of a stream, built here.
class StreamParameter {
 public:
  /// What formats are taken: at most so many pictures a second, 1 at least.
  static StreamParameter formats(std::int32_t framesPerSecond);

  /// What memory pictures may come in: only such as can be read.
  static StreamParameter buffers();

  /// That each picture is to carry a kind of facts (SPA_META_*) of at most so many bytes.
  static StreamParameter metadata(std::uint32_t type, std::uint32_t minBytes,
                                  std::uint32_t maxBytes);

  /// Valid as long as this.
  const spa_pod* pod() const;

 private:
  StreamParameter() : storage_(128) {}

  std::vector<std::uint64_t> storage_;  ///< aligned as needed
};

}  // namespace tarvinel::portal
