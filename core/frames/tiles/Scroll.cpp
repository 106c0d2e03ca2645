#include "core/frames/tiles/Scroll.h"

#include <algorithm>
#include <cstddef>
#include <numeric>
#include <unordered_map>

namespace tarvinel::tiles {

namespace {

constexpr std::size_t searchedColumns = 4;

// With fewer rows found again, a scroll would save less than the search cost.
constexpr int fewestRows = Grid::tileHeight;

using Votes = std::unordered_map<std::int32_t, int>;  // rows, by how far they moved down

// Returns the columns with most of the tiles, those with more tiles first.
std::vector<std::int32_t> busiestColumns(const Grid& grid, const std::vector<Index>& tiles) {
  std::vector<int> counts(static_cast<std::size_t>(grid.columns()));
  for (const Index tile : tiles)
    ++counts[tile % counts.size()];
  std::vector<std::int32_t> columns(counts.size());
  std::iota(columns.begin(), columns.end(), 0);
  std::ranges::stable_sort(columns, std::ranges::greater{}, [&counts](std::int32_t column) {
    return counts[static_cast<std::size_t>(column)];
  });
  columns.resize(std::min(columns.size(), searchedColumns));
  return columns;
}

std::vector<std::int32_t> rowsIn(const Grid& grid, std::int32_t column,
                                 const std::vector<Index>& tiles) {
  std::vector<std::int32_t> rows;
  for (const Index tile : tiles) {
    if (static_cast<std::int32_t>(tile) % grid.columns() != column) continue;
    const PixelRect area = grid.area(tile);
    for (std::int32_t y = area.y; y < area.maxY(); ++y)
      rows.push_back(y);
  }
  return rows;
}

// Rows that were there more than once, such as empty ones, say nothing.
void vote(Votes& votes, const RowHashes& before, const RowHashes& now, std::int32_t column,
          const std::vector<std::int32_t>& rows) {
  constexpr std::int32_t several = -1;
  std::unordered_map<std::uint64_t, std::int32_t> places;
  places.reserve(rows.size());
  for (const std::int32_t y : rows) {
    const auto [place, isNew] = places.emplace(before.at(column, y), y);
    if (!isNew) place->second = several;
  }
  places.erase(RowHashes::unknown);
  for (const std::int32_t y : rows) {
    const auto place = places.find(now.at(column, y));
    if (place == places.end() || place->second == several || place->second == y) continue;
    ++votes[y - place->second];
  }
}

bool hasMoved(const RowHashes& before, const RowHashes& now, Index tile, std::int32_t down) {
  const Grid& grid = now.grid();
  const PixelRect area = grid.area(tile);
  if (area.y - down < 0 || area.maxY() - down > grid.height()) return false;
  const std::int32_t column = static_cast<std::int32_t>(tile) % grid.columns();
  for (std::int32_t y = area.y; y < area.maxY(); ++y) {
    if (now.at(column, y) != before.at(column, y - down)) return false;
  }
  return true;
}

}  // namespace

std::optional<Scroll> findScroll(const RowHashes& before, const RowHashes& now,
                                 const std::vector<Index>& changed) {
  const Grid& grid = now.grid();
  Votes votes;
  for (const std::int32_t column : busiestColumns(grid, changed))
    vote(votes, before, now, column, rowsIn(grid, column, changed));
  const auto best = std::ranges::max_element(votes, {}, &Votes::value_type::second);
  if (best == votes.end() || best->second < fewestRows) return std::nullopt;

  Scroll scroll{.down = best->first, .moved = {}, .either = {}};
  std::size_t next = 0;
  for (Index tile = 0; tile < grid.count(); ++tile) {
    const bool isChanged = next < changed.size() && changed[next] == tile;
    if (isChanged) ++next;
    if (!hasMoved(before, now, tile, scroll.down)) continue;
    (isChanged ? scroll.moved : scroll.either).push_back(tile);
  }
  if (scroll.moved.empty()) return std::nullopt;
  return scroll;
}

}  // namespace tarvinel::tiles
