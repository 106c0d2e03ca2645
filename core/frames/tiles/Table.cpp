#include "core/frames/tiles/Table.h"

#include <algorithm>
#include <cstddef>
#include <span>
#include <utility>

namespace tarvinel::tiles {

namespace {

void put16(Bytes& message, std::size_t number) {
  message.push_back(static_cast<std::uint8_t>(number >> 8U));
  message.push_back(static_cast<std::uint8_t>(number));
}

void put32(Bytes& message, std::size_t number) {
  put16(message, number >> 16U);
  put16(message, number & 0xFFFFU);
}

void putGroups(Bytes& message, std::uint32_t number) {
  constexpr std::uint32_t more = 0x80;
  for (; number >= more; number >>= 7U)
    message.push_back(static_cast<std::uint8_t>(number | more));
  message.push_back(static_cast<std::uint8_t>(number));
}

void putStack(Bytes& message, const Table& table, std::span<const Index> indices, Quality quality) {
  message.push_back(quality == Quality::settled ? 1 : 0);
  put16(message, indices.size());
  std::vector<Segment> segments;
  Index before = 0;
  for (const Index index : indices) {
    putGroups(message, index - before);
    before = index;
    segments.push_back(table.tiles[index].segment);
  }
  const Bytes data = spliced(segments);
  put32(message, data.size());
  message.insert(message.end(), data.begin(), data.end());
}

// Returns the tiles of one quality that are newer than a version.
std::vector<Index> newer(const Table& table, Version from, Quality quality) {
  std::vector<Index> indices;
  for (Index i = 0; i < table.tiles.size(); ++i) {
    const Tile& tile = table.tiles[i];
    if (tile.segment && tile.version > from && tile.quality == quality) indices.push_back(i);
  }
  return indices;
}

std::size_t stacksFor(std::size_t tileCount) {
  return (tileCount + Encoder::maxTilesInPicture - 1) / Encoder::maxTilesInPicture;
}

void putStacks(Bytes& message, const Table& table, std::span<const Index> indices,
               Quality quality) {
  while (!indices.empty()) {
    const std::size_t count = std::min(indices.size(), Encoder::maxTilesInPicture);
    putStack(message, table, indices.first(count), quality);
    indices = indices.subspan(count);
  }
}

void putHead(Bytes& message, const Bytes& head) {
  put16(message, head.size());
  message.insert(message.end(), head.begin(), head.end());
}

}  // namespace

Table Table::changed(const std::vector<Index>& indices, const std::vector<Segment>& segments,
                     Quality quality) const {
  Table next = *this;
  ++next.version;
  for (std::size_t i = 0; i < indices.size(); ++i)
    next.tiles[indices[i]] = {segments[i], next.version, quality};
  return next;
}

Table Table::restarted(const Grid& newGrid, std::shared_ptr<const Heads> newHeads) const {
  return {newGrid, std::move(newHeads), version, version, std::vector<Tile>(newGrid.count())};
}

Bytes updateMessage(const Table& table, Version viewersVersion) {
  const Version from = viewersVersion > table.origin ? viewersVersion : 0;
  const std::vector<Index> motion = newer(table, from, Quality::motion);
  const std::vector<Index> settled = newer(table, from, Quality::settled);
  Bytes message;
  put32(message, from);
  put32(message, table.version);
  put16(message, static_cast<std::size_t>(table.grid.width()));
  put16(message, static_cast<std::size_t>(table.grid.height()));
  if (from == 0) {
    putHead(message, table.heads->motion);
    putHead(message, table.heads->settled);
  }
  message.push_back(
      static_cast<std::uint8_t>(stacksFor(motion.size()) + stacksFor(settled.size())));
  putStacks(message, table, motion, Quality::motion);
  putStacks(message, table, settled, Quality::settled);
  return message;
}

}  // namespace tarvinel::tiles
