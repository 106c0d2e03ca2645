#include "core/frames/tiles/Encoder.h"

#include "core/frames/JPEGWriter.h"

#include <algorithm>
#include <array>
#include <cstdint>
#include <utility>

namespace tarvinel::tiles {

namespace {

constexpr std::size_t bytesPerPixel = PixelView::bytesPerPixel;
constexpr std::size_t rowBytes = std::size_t{Grid::tileWidth} * bytesPerPixel;
constexpr std::size_t expectedBytesOfTile = 1024;
constexpr int blocksOfTile = Grid::tileWidth / DCTSIZE * (Grid::tileHeight / DCTSIZE);

constexpr std::uint8_t markerPrefix = 0xFF;
constexpr std::uint8_t firstRestart = 0xD0;
constexpr std::uint8_t restartCount = 8;
constexpr std::uint8_t startOfFrame = 0xC0;
constexpr std::uint8_t startOfScan = 0xDA;
constexpr std::size_t startOfImageLength = 2;
constexpr std::size_t endOfImageLength = 2;
constexpr std::size_t heightInFrameHeader = 5;

int shrinkOf(const Look& look) {
  return look.isHalved ? 2 : 1;
}

/// The rows of one whole tile as the library reads them: those of the picture where they are whole,
/// else copies.
class TileRows {
 public:
  /// Returns the number of rows at `rows()`.
  JDIMENSION load(const PixelView& picture, const PixelRect& area, const Look& look) {
    const PixelView pixels = picture.part(area);
    const bool isWhole = area.width == Grid::tileWidth;
    for (std::size_t y = 0; y < rows_.size(); ++y) {
      const std::uint8_t* row = pixels.row(std::min(y, pixels.height - 1));
      // the library's row type is not const, although the library only reads
      rows_[y] = isWhole ? const_cast<JSAMPROW>(row) : padded(row, pixels.width, y);
    }
    return look.isHalved ? halve() : JDIMENSION{Grid::tileHeight};
  }

  JSAMPROW* rows() { return rows_.data(); }

 private:
  JSAMPROW padded(const std::uint8_t* row, std::size_t width, std::size_t y) {
    JSAMPROW copy = pixels_.data() + y * rowBytes;
    std::copy_n(row, width * bytesPerPixel, copy);
    for (std::size_t x = width; x < Grid::tileWidth; ++x)
      std::copy_n(row + (width - 1) * bytesPerPixel, bytesPerPixel, copy + x * bytesPerPixel);
    return copy;
  }

  JDIMENSION halve() {
    // two rows at a time: at the lower edge the second one is the last one again
    for (std::size_t y = 0; y < rows_.size(); y += 2) {
      JSAMPROW half = halves_.data() + y / 2 * (rowBytes / 2);
      average(rows_[y], rows_[y + 1], half);
      rows_[y / 2] = half;
    }
    return Grid::tileHeight / 2;
  }

  static void average(const std::uint8_t* upper, const std::uint8_t* lower, std::uint8_t* half) {
    for (std::size_t at = 0; at < rowBytes / 2; ++at) {
      const std::size_t left = at / bytesPerPixel * 2 * bytesPerPixel + at % bytesPerPixel;
      const int sum =
          upper[left] + upper[left + bytesPerPixel] + lower[left] + lower[left + bytesPerPixel] + 2;
      half[at] = static_cast<std::uint8_t>(sum / 4);
    }
  }

  std::array<JSAMPROW, Grid::tileHeight> rows_{};
  std::array<std::uint8_t, rowBytes * Grid::tileHeight> pixels_{};
  std::array<std::uint8_t, rowBytes * Grid::tileHeight / 4> halves_{};
};

void setParameters(jpeg_compress_struct& compressor, const Look& look, std::size_t tileCount) {
  const int shrink = shrinkOf(look);
  compressor.image_width = static_cast<JDIMENSION>(Grid::tileWidth / shrink);
  compressor.image_height =
      static_cast<JDIMENSION>(tileCount) * static_cast<JDIMENSION>(Grid::tileHeight / shrink);
  compressor.input_components = int{bytesPerPixel};
  compressor.in_color_space = JCS_EXT_BGRX;
  jpeg_set_defaults(&compressor);
  jpeg_set_quality(&compressor, look.quality, TRUE);
  compressor.dct_method = JDCT_ISLOW;
  compressor.write_JFIF_header = FALSE;
  // the chroma's height is never halved: an MCU would be higher than a tile that is halved
  const int blocksOfMCU = look.hasHalfColour ? 2 : 1;
  compressor.comp_info[0].h_samp_factor = blocksOfMCU;
  compressor.comp_info[0].v_samp_factor = 1;
  compressor.restart_interval =
      static_cast<unsigned>(blocksOfTile / (shrink * shrink) / blocksOfMCU);
}

std::size_t number(const Bytes& file, std::size_t at) {
  return std::size_t{file[at]} << 8U | file[at + 1];
}

// Returns where the segment with this marker begins in the head of a file that the library wrote.
std::size_t find(const Bytes& file, std::uint8_t marker) {
  std::size_t at = startOfImageLength;
  while (file[at + 1] != marker)
    at += 2 + number(file, at + 2);
  return at;
}

std::size_t lengthOfHead(const Bytes& file) {
  const std::size_t scan = find(file, startOfScan);
  return scan + 2 + number(file, scan + 2);
}

bool isRestart(std::uint8_t first, std::uint8_t second) {
  return first == markerPrefix && second >= firstRestart && second < firstRestart + restartCount;
}

void addSegments(std::vector<Segment>& segments, const Bytes& file) {
  const std::size_t end = file.size() - endOfImageLength;
  std::size_t begin = lengthOfHead(file);
  const auto add = [&](std::size_t to) {
    segments.push_back(
        std::make_shared<const Bytes>(file.begin() + static_cast<std::ptrdiff_t>(begin),
                                      file.begin() + static_cast<std::ptrdiff_t>(to)));
  };
  for (std::size_t at = begin; at + 1 < end; ++at) {
    if (!isRestart(file[at], file[at + 1])) continue;
    add(at);
    begin = at + 2;
    ++at;
  }
  add(end);
}

}  // namespace

Encoder::Encoder(Look look) : look_(look) {
  const Grid grid(1, 1);
  const std::array<std::uint8_t, bytesPerPixel> pixel{};
  const std::array<Index, 1> tile{0};
  head_ = encodePicture({pixel.data(), 1, 1, bytesPerPixel}, grid, tile);
  head_.resize(lengthOfHead(head_));
}

Bytes Encoder::head(std::size_t tileCount) const {
  Bytes head = head_;
  const std::size_t at = find(head, startOfFrame) + heightInFrameHeader;
  const std::size_t height =
      tileCount * (Grid::tileHeight / static_cast<unsigned>(shrinkOf(look_)));
  head[at] = static_cast<std::uint8_t>(height >> 8U);
  head[at + 1] = static_cast<std::uint8_t>(height);
  return head;
}

std::vector<Segment> Encoder::encode(const PixelView& picture, const Grid& grid,
                                     const std::vector<Index>& tiles) {
  std::vector<Segment> segments;
  segments.reserve(tiles.size());
  std::span<const Index> rest = tiles;
  while (!rest.empty()) {
    const std::size_t count = std::min(rest.size(), maxTilesInPicture);
    addSegments(segments, encodePicture(picture, grid, rest.first(count)));
    rest = rest.subspan(count);
  }
  return segments;
}

Bytes Encoder::encodePicture(const PixelView& picture, const Grid& grid,
                             std::span<const Index> tiles) {
  TileRows rows;
  Bytes file = compressor_.run(
      tiles.size() * expectedBytesOfTile + 1024, [&](jpeg_compress_struct& compressor) {
        setParameters(compressor, look_, tiles.size());
        jpeg_start_compress(&compressor, TRUE);
        for (const Index tile : tiles) {
          const JDIMENSION count = rows.load(picture, grid.area(tile), look_);
          jpeg_write_scanlines(&compressor, rows.rows(), count);
        }
        jpeg_finish_compress(&compressor);
      });
  if (file.empty()) throw JPEGEncodeError::encodeFailed();
  return file;
}

Bytes spliced(const std::vector<Segment>& segments) {
  std::size_t size = segments.size() * 2;
  for (const Segment& segment : segments)
    size += segment->size();
  Bytes data;
  data.reserve(size);
  for (std::size_t i = 0; i < segments.size(); ++i) {
    if (i > 0) {
      data.push_back(markerPrefix);
      data.push_back(static_cast<std::uint8_t>(firstRestart + (i - 1) % restartCount));
    }
    data.insert(data.end(), segments[i]->begin(), segments[i]->end());
  }
  return data;
}

}  // namespace tarvinel::tiles
