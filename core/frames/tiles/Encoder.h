#pragma once

#include "core/frames/JPEGCompressor.h"
#include "core/frames/PixelBuffer.h"
#include "core/frames/tiles/Grid.h"
#include "core/support/Bytes.h"

#include <cstddef>
#include <memory>
#include <span>
#include <vector>

namespace tarvinel::tiles {

/// The entropy-coded data of one tile: a restart interval of a JPEG picture, without markers (ITU-T
/// T.81, E.1.4). It depends on no other tile. Immutable and shared.
using Segment = std::shared_ptr<const Bytes>;

/// How the pixels of tiles are encoded.
struct Look {
  int quality = 92;       ///< of libjpeg, 1 to 100
  bool isHalved = false;  ///< width and height are halved, for motion on screens of double density
  bool hasHalfColour = false;  ///< the chroma's width is halved (4:2:2)

  bool operator==(const Look&) const = default;
};

/// Encodes tiles, all of one look. Partial tiles are padded by their last pixels. Tiles are stacked
/// in a picture that is one tile wide, where each is a restart interval; the library is called once
/// for many tiles, because a call for each takes twice as long.
class Encoder {
 public:
  /// The most tiles in one JPEG picture: browsers decode and draw heights up to 8192 everywhere.
  static constexpr std::size_t maxTilesInPicture = 512;

  /// Throws JPEGEncodeError encodeFailed.
  explicit Encoder(Look look);

  /// Returns all of a JPEG file before its entropy-coded data, for a picture of `tileCount` tiles
  /// below each other, 1 to `maxTilesInPicture`.
  Bytes head(std::size_t tileCount) const;

  /// Returns the segments of these tiles of a picture of the grid's size, in the same order. Throws
  /// JPEGEncodeError encodeFailed.
  std::vector<Segment> encode(const PixelView& picture, const Grid& grid,
                              const std::vector<Index>& tiles);

 private:
  Bytes encodePicture(const PixelView& picture, const Grid& grid, std::span<const Index> tiles);

  const Look look_;
  JPEGCompressor compressor_;
  Bytes head_;  ///< for one tile
};

/// Returns the entropy-coded data of a picture of these segments, with the restart markers between
/// them. Behind `Encoder::head` and before an end marker it is a JPEG file.
Bytes spliced(const std::vector<Segment>& segments);

}  // namespace tarvinel::tiles
