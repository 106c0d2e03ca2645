#include "core/frames/tiles/Grid.h"

namespace tarvinel::tiles {

PixelRect Grid::area(Index tile) const {
  const auto number = static_cast<std::int32_t>(tile);
  const PixelRect whole{number % columns() * tileWidth, number / columns() * tileHeight, tileWidth,
                        tileHeight};
  return whole.intersection({0, 0, width_, height_});
}

std::vector<Index> Grid::touchedBy(const PixelRects& areas) const {
  std::vector<bool> touched(count());
  for (const PixelRect& given : areas) {
    const PixelRect area = given.intersection({0, 0, width_, height_});
    if (area.isEmpty()) continue;
    for (std::int32_t row = area.y / tileHeight; row * tileHeight < area.maxY(); ++row) {
      for (std::int32_t column = area.x / tileWidth; column * tileWidth < area.maxX(); ++column) {
        touched[static_cast<std::size_t>(row) * static_cast<std::size_t>(columns()) +
                static_cast<std::size_t>(column)] = true;
      }
    }
  }
  std::vector<Index> tiles;
  for (std::size_t i = 0; i < touched.size(); ++i) {
    if (touched[i]) tiles.push_back(static_cast<Index>(i));
  }
  return tiles;
}

}  // namespace tarvinel::tiles
