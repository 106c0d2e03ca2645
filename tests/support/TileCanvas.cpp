#include "tests/support/TileCanvas.h"

#include <algorithm>
#include <cstdlib>
#include <stdexcept>

namespace tarvinel::test {

namespace {

constexpr std::size_t tileWidth = 128;
constexpr std::size_t tileHeight = 16;

class Reader {
 public:
  explicit Reader(const Bytes& message) : message_(message) {}

  std::uint32_t number(std::size_t bytes) {
    std::uint32_t value = 0;
    for (; bytes > 0; --bytes)
      value = value << 8U | next();
    return value;
  }

  std::uint32_t groups() {
    std::uint32_t value = 0;
    for (unsigned shift = 0;; shift += 7) {
      const std::uint32_t group = next();
      value |= (group & 0x7FU) << shift;
      if (group < 0x80) return value;
    }
  }

  Bytes bytes(std::size_t count) {
    if (count > message_.size() - at_) throw std::runtime_error("an update is too short");
    const auto begin = message_.begin() + static_cast<std::ptrdiff_t>(at_);
    at_ += count;
    return {begin, begin + static_cast<std::ptrdiff_t>(count)};
  }

  bool isAtEnd() const { return at_ == message_.size(); }

 private:
  std::uint8_t next() {
    if (at_ == message_.size()) throw std::runtime_error("an update is too short");
    return message_[at_++];
  }

  const Bytes& message_;
  std::size_t at_ = 0;
};

Bytes jpeg(Bytes head, std::size_t tileCount, const Bytes& data) {
  std::size_t at = 2;
  while (head.at(at + 1) != 0xC0)
    at += 2 + (std::size_t{head.at(at + 2)} << 8U | head.at(at + 3));
  const std::size_t height = (std::size_t{head.at(at + 5)} << 8U | head.at(at + 6)) * tileCount;
  head[at + 5] = static_cast<std::uint8_t>(height >> 8U);
  head[at + 6] = static_cast<std::uint8_t>(height);
  head.insert(head.end(), data.begin(), data.end());
  head.insert(head.end(), {0xFF, 0xD9});
  return head;
}

}  // namespace

void TileCanvas::apply(const Bytes& update) {
  Reader reader(update);
  const std::uint32_t from = reader.number(4);
  const std::uint32_t to = reader.number(4);
  if (from != 0 && from != version_) throw std::runtime_error("another version");
  const std::size_t width = reader.number(2);
  fit(width, reader.number(2));
  movesOfLastUpdate_ = 0;
  if (from == 0) {
    heads_ = {reader.bytes(reader.number(2)), reader.bytes(reader.number(2))};
  } else {
    movesOfLastUpdate_ = reader.groups();
  }
  const std::vector<DecodedJPEG::Pixel> before =
      movesOfLastUpdate_ > 0 ? pixels_ : std::vector<DecodedJPEG::Pixel>{};
  for (std::size_t left = movesOfLastUpdate_; left > 0; --left) {
    PixelRect area;
    for (std::int32_t* number : {&area.x, &area.y, &area.width, &area.height})
      *number = static_cast<std::int32_t>(reader.number(2));
    move(before, area, reader.number(2));
  }
  tilesOfLastUpdate_ = 0;
  for (std::uint32_t stacks = reader.number(1); stacks > 0; --stacks) {
    const std::uint32_t quality = reader.number(1);
    std::vector<std::uint32_t> indices(reader.number(2));
    std::uint32_t index = 0;
    for (std::uint32_t& each : indices)
      each = index += reader.groups();
    tilesOfLastUpdate_ += indices.size();
    const Bytes data = reader.bytes(reader.number(4));
    paint(DecodedJPEG::decode(jpeg(heads_.at(quality), indices.size(), data)), indices);
  }
  if (!reader.isAtEnd()) throw std::runtime_error("an update is too long");
  version_ = to;
}

void TileCanvas::fit(std::size_t width, std::size_t height) {
  if (width == width_ && height == height_) return;
  width_ = width;
  height_ = height;
  pixels_.assign(width * height, {});
}

void TileCanvas::move(const std::vector<DecodedJPEG::Pixel>& before, const PixelRect& area,
                      std::size_t fromY) {
  const auto left = static_cast<std::size_t>(area.x);
  const auto width = static_cast<std::size_t>(area.width);
  if (left + width > width_) throw std::runtime_error("no such area");
  for (std::size_t y = 0; y < static_cast<std::size_t>(area.height); ++y) {
    for (std::size_t x = left; x < left + width; ++x) {
      pixels_.at((static_cast<std::size_t>(area.y) + y) * width_ + x) =
          before.at((fromY + y) * width_ + x);
    }
  }
}

void TileCanvas::paint(const DecodedJPEG& stack, const std::vector<std::uint32_t>& indices) {
  const std::size_t columns = (width_ + tileWidth - 1) / tileWidth;
  const std::size_t shrink = tileWidth / stack.width;
  for (std::size_t i = 0; i < indices.size(); ++i) {
    const std::size_t left = indices[i] % columns * tileWidth;
    const std::size_t top = indices[i] / columns * tileHeight;
    for (std::size_t y = 0; y < std::min(tileHeight, height_ - top); ++y) {
      for (std::size_t x = 0; x < std::min(tileWidth, width_ - left); ++x)
        pixels_.at((top + y) * width_ + left + x) =
            stack.at(x / shrink, (i * tileHeight + y) / shrink);
    }
  }
}

int TileCanvas::differenceFrom(const PixelView& picture) const {
  if (picture.width != width_ || picture.height != height_) return 256;
  int worst = 0;
  for (std::size_t y = 0; y < height_; ++y) {
    for (std::size_t x = 0; x < width_; ++x) {
      const std::uint8_t* wanted = picture.row(y) + x * 4;
      const DecodedJPEG::Pixel found = at(x, y);
      for (std::size_t i = 0; i < 3; ++i)
        worst = std::max(worst, std::abs(int{found.at(i)} - int{wanted[2 - i]}));
    }
  }
  return worst;
}

}  // namespace tarvinel::test
