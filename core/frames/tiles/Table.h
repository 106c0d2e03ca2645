#pragma once

#include "core/frames/tiles/Encoder.h"
#include "core/frames/tiles/Grid.h"
#include "core/support/Bytes.h"

#include <cstdint>
#include <memory>
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
  Segment segment;
  Version version = 0;  ///< of the change that brought them
  Quality quality = Quality::motion;
};

/// The heads of the JPEG pictures that segments are put behind.
struct Heads {
  Bytes motion;
  Bytes settled;
};

/// A picture as its tiles. Immutable once published; copies share the segments.
struct Table {
  Grid grid;
  std::shared_ptr<const Heads> heads;  ///< of pictures of one tile
  Version version = 0;
  Version origin = 0;       ///< what has an older version is another picture
  std::vector<Tile> tiles;  ///< by index; as many as the grid has

  /// Returns the table after a change of some of its tiles, whose segments are given in the same
  /// order. Its version is the next one.
  Table changed(const std::vector<Index>& indices, const std::vector<Segment>& segments,
                Quality quality) const;

  /// Returns an empty table for another picture. The versions go on, so that everything in it will
  /// be newer than what any viewer has.
  Table restarted(const Grid& newGrid, std::shared_ptr<const Heads> newHeads) const;
};

/// Returns the message that brings a viewer who has version `from` (0: nothing) up to the table's
/// version: all newer tiles, and of each only its newest pixels. For a viewer of another picture it
/// is the same as from 0. Numbers are big-endian:
///
///     u32 from, u32 to, u16 width, u16 height of the picture
///     if from is 0, for each quality, motion first: u16 length, head of a JPEG picture of one tile
///     u8 number of stacks; for each stack:
///     u8 quality (0 motion, 1 settled), u16 number of tiles, the indices of the tiles (each as the
///     difference from the one before, the first from 0, in groups of seven bits, the lowest first,
///     all but the last with the highest bit set), u32 length of the data, data
///
/// The data is that of `spliced`. It becomes a JPEG file behind the head of its quality, whose
/// height is to be multiplied by the number of tiles.
Bytes updateMessage(const Table& table, Version from);

}  // namespace tarvinel::tiles
