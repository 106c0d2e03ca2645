#include "core/frames/tiles/Table.h"

#include <algorithm>
#include <array>
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

struct Move {
  PixelRect area;
  std::int32_t down = 0;  // pixels by which its content is moved
};

// Further ones would cost more than they save.
constexpr std::size_t maxMoves = 1024;

/// What brings a viewer up to date.
struct Update {
  std::vector<Move> moves;
  std::vector<Index> motion;
  std::vector<Index> settled;
};

// Joins what is right of the last move.
void addMove(std::vector<Move>& moves, const PixelRect& area, std::int32_t down) {
  if (!moves.empty()) {
    PixelRect& last = moves.back().area;
    if (moves.back().down == down && last.y == area.y && last.maxX() == area.x) {
      last.width += area.width;
      return;
    }
  }
  moves.push_back({area, down});
}

// Joins the moves in each row of tiles with equal ones above: a scrolled area is few moves.
std::vector<Move> joined(const std::vector<Move>& rows) {
  std::vector<Move> moves;
  for (const Move& row : rows) {
    const auto above = std::ranges::find_if(moves, [&row](const Move& move) {
      return move.down == row.down && move.area.x == row.area.x &&
             move.area.width == row.area.width && move.area.maxY() == row.area.y;
    });
    if (above == moves.end()) {
      moves.push_back(row);
    } else {
      above->area.height += row.area.height;
    }
  }
  return moves;
}

// Returns nullopt if a segment is missing.
std::optional<Update> updateSince(const Table& table, Version from) {
  Update update;
  for (Index i = 0; i < table.tiles.size(); ++i) {
    const Tile& tile = table.tiles[i];
    if (tile.version <= from) continue;
    const auto down = table.movedSince(from, i);
    if (down == 0) continue;
    if (down && update.moves.size() < maxMoves) {
      addMove(update.moves, table.grid.area(i), *down);
    } else if (tile.segment) {
      (tile.quality == Quality::motion ? update.motion : update.settled).push_back(i);
    } else {
      return std::nullopt;
    }
  }
  update.moves = joined(update.moves);
  return update;
}

void putMoves(Bytes& message, const std::vector<Move>& moves) {
  putGroups(message, static_cast<std::uint32_t>(moves.size()));
  for (const auto& [area, down] : moves) {
    for (const std::int32_t number : {area.x, area.y, area.width, area.height, area.y - down})
      put16(message, static_cast<std::size_t>(number));
  }
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

void add(std::vector<std::shared_ptr<const Step>>& steps, Step step) {
  if (steps.size() == Table::maxSteps) steps.erase(steps.begin());
  steps.push_back(std::make_shared<const Step>(std::move(step)));
}

// Returns the tiles under the top and the bottom of an area, which is not larger than a tile and
// within one column. They may be the same.
std::array<Index, 2> tilesUnder(const Grid& grid, const PixelRect& area) {
  const auto tileAt = [&](std::int32_t y) {
    return static_cast<Index>(y / Grid::tileHeight * grid.columns() + area.x / Grid::tileWidth);
  };
  return {tileAt(area.y), tileAt(area.maxY() - 1)};
}

// Returns the quality of what is `down` pixels above a tile.
Quality qualityAbove(const Table& table, Index tile, std::int32_t down) {
  PixelRect area = table.grid.area(tile);
  area.y -= down;
  Quality quality = Quality::settled;
  for (const Index part : tilesUnder(table.grid, area))
    quality = std::min(quality, table.tiles[part].quality);
  return quality;
}

}  // namespace

Table Table::changed(const std::vector<Index>& indices, const std::vector<Segment>& segments,
                     Quality quality) const {
  Table next = *this;
  Step step{.version = ++next.version, .down = 0, .origins = {}};
  step.origins.resize(tiles.size());
  for (std::size_t i = 0; i < indices.size(); ++i) {
    next.tiles[indices[i]] = {segments[i], next.version, quality};
    step.origins[indices[i]] = Step::Origin::encoded;
  }
  add(next.steps, std::move(step));
  return next;
}

Table Table::scrolled(const Scroll& scroll) const {
  Table next = *this;
  Step step{.version = ++next.version, .down = scroll.down, .origins = {}};
  step.origins.resize(tiles.size());
  for (const Index tile : scroll.moved) {
    next.tiles[tile] = {nullptr, next.version, qualityAbove(*this, tile, scroll.down)};
    step.origins[tile] = Step::Origin::moved;
  }
  for (const Index tile : scroll.either) {
    // who moves it is not to end with less sharp pixels
    if (qualityAbove(*this, tile, scroll.down) >= tiles[tile].quality) {
      step.origins[tile] = Step::Origin::either;
    }
  }
  add(next.steps, std::move(step));
  return next;
}

Table Table::completed(const std::vector<Index>& indices,
                       const std::vector<Segment>& segments) const {
  Table next = *this;
  for (std::size_t i = 0; i < indices.size(); ++i)
    next.tiles[indices[i]].segment = segments[i];
  return next;
}

Table Table::restarted(const Grid& newGrid, std::shared_ptr<const Heads> newHeads) const {
  return {.grid = newGrid,
          .heads = std::move(newHeads),
          .version = version,
          .origin = version,
          .tiles = std::vector<Tile>(newGrid.count()),
          .steps = {}};
}

std::optional<std::int32_t> Table::movedSince(Version from, Index tile) const {
  if (from == 0 || steps.empty() || steps.front()->version > from + 1) return std::nullopt;
  PixelRect area = grid.area(tile);
  const std::int32_t place = area.y;
  for (auto step = steps.rbegin(); step != steps.rend() && (*step)->version > from; ++step) {
    bool isKept = true;
    bool isMoved = true;
    for (const Index part : tilesUnder(grid, area)) {
      const Step::Origin came = (*step)->origins[part];
      isKept = isKept && (came == Step::Origin::kept || came == Step::Origin::either);
      isMoved = isMoved && (came == Step::Origin::moved || came == Step::Origin::either);
    }
    if (!isKept && !isMoved) return std::nullopt;
    if (!isKept) area.y -= (*step)->down;
  }
  return place - area.y;
}

std::optional<Bytes> updateMessage(const Table& table, Version viewersVersion) {
  const Version from = viewersVersion > table.origin ? viewersVersion : 0;
  const std::optional<Update> update = updateSince(table, from);
  if (!update) return std::nullopt;
  Bytes message;
  put32(message, from);
  put32(message, table.version);
  put16(message, static_cast<std::size_t>(table.grid.width()));
  put16(message, static_cast<std::size_t>(table.grid.height()));
  if (from == 0) {
    putHead(message, table.heads->motion);
    putHead(message, table.heads->settled);
  } else {
    putMoves(message, update->moves);
  }
  message.push_back(static_cast<std::uint8_t>(stacksFor(update->motion.size()) +
                                              stacksFor(update->settled.size())));
  putStacks(message, table, update->motion, Quality::motion);
  putStacks(message, table, update->settled, Quality::settled);
  return message;
}

}  // namespace tarvinel::tiles
