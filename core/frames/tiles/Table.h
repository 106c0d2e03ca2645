#pragma once

#include "core/frames/tiles/Encoder.h"
#include "core/frames/tiles/Grid.h"
#include "core/frames/tiles/Scroll.h"
#include "core/support/Bytes.h"

#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <vector>

namespace tarvinel::tiles {

/// Counts the changes of the shared picture in one run of the program; 0: before the first.
using Version = std::uint32_t;

enum class Quality : std::uint8_t {
  motion,   ///< while the tile changes
  settled,  ///< sharp; final until the tile changes again
};

/// The newest pixels of one tile.
struct Tile {
  Segment segment;      ///< null if they were only moved there, until a viewer needs them
  Version version = 0;  ///< of the change that brought them
  Quality quality = Quality::motion;
};

/// The heads of the JPEG pictures that segments are put behind.
struct Heads {
  Bytes motion;
  Bytes settled;
};

/// Where the content of each tile came from in one change.
struct Step {
  enum class Origin : std::uint8_t {
    kept,
    moved,   ///< from `down` pixels above
    either,  ///< both would be the same
    encoded,
  };

  Version version = 0;
  std::int32_t down = 0;        ///< pixels
  std::vector<Origin> origins;  ///< by tile
};

/// A picture as its tiles. Immutable once published; copies share the segments.
struct Table {
  /// Who is further behind is sent tiles that others can move.
  static constexpr std::size_t maxSteps = 16;

  Grid grid;
  std::shared_ptr<const Heads> heads;  ///< of pictures of one tile
  Version version = 0;
  Version origin = 0;                              ///< what has an older version is another picture
  std::vector<Tile> tiles;                         ///< by index; as many as the grid has
  std::vector<std::shared_ptr<const Step>> steps;  ///< the last changes, the newest last

  /// Returns the table after a change of some of its tiles, whose segments are given in the same
  /// order. Its version is the next one.
  Table changed(const std::vector<Index>& indices, const std::vector<Segment>& segments,
                Quality quality) const;

  /// Returns the table after a scroll. Its version is the next one. The moved tiles have no
  /// segments; they are as sharp as what was moved there.
  Table scrolled(const Scroll& scroll) const;

  /// Returns the table with segments for tiles that have none. Its version is the same.
  Table completed(const std::vector<Index>& indices, const std::vector<Segment>& segments) const;

  /// Returns an empty table for another picture. The versions go on, so that everything in it will
  /// be newer than what any viewer has.
  Table restarted(const Grid& newGrid, std::shared_ptr<const Heads> newHeads) const;

  /// Returns how many pixels above its place the content of a tile is in version `from` of the
  /// picture, or nullopt if it was not there.
  std::optional<std::int32_t> movedSince(Version from, Index tile) const;
};

/// Returns the message that brings a viewer who has version `from` (0: nothing) up to the table's
/// version, or nullopt if that needs a segment that the table does not have. It moves what the
/// viewer has already and holds all other newer tiles, of each only its newest pixels. For a viewer
/// of another picture it is the same as from 0. Numbers are big-endian:
///
///     u32 from, u32 to, u16 width, u16 height of the picture
///     if from is 0, for each quality, motion first: u16 length, head of a JPEG picture of one tile
///     else number of moves in groups of seven bits, the lowest first, all but the last with the
///     highest bit set; for each move:
///     u16 x, y, width, height of an area in pixels, u16 y of where its content was
///     u8 number of stacks; for each stack:
///     u8 quality (0 motion, 1 settled), u16 number of tiles, the indices of the tiles (each as the
///     difference from the one before, the first from 0, in such groups), u32 length of the data,
///     data
///
/// All moved content is taken from version `from`. The data is that of `spliced`. It becomes a JPEG
/// file behind the head of its quality, whose height is to be multiplied by the number of tiles.
std::optional<Bytes> updateMessage(const Table& table, Version from);

}  // namespace tarvinel::tiles
