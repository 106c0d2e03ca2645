#include "app/capture/portal/StreamBuffer.h"

#include <pipewire/stream.h>
#include <spa/buffer/meta.h>
#include <spa/param/video/raw.h>
#include <sys/stat.h>

#include <algorithm>
#include <array>
#include <cstring>

namespace tarvinel::portal {

namespace {

template <class T>
const T* metadataIn(const pw_buffer& buffer, std::uint32_t type) {
  return static_cast<const T*>(spa_buffer_find_meta_data(buffer.buffer, type, sizeof(T)));
}

RawRegion regionOf(const spa_meta_region& meta) {
  return {meta.region.position.x, meta.region.position.y, meta.region.size.width,
          meta.region.size.height};
}

// A producer may claim more than its memory holds: reading further would end the program.
std::size_t readableBytes(const spa_data& data) {
  if (data.type == SPA_DATA_MemPtr) return data.maxsize;
  struct stat file{};
  if (data.type != SPA_DATA_MemFd || fstat(static_cast<int>(data.fd), &file) != 0) return 0;
  const std::int64_t there = std::max<std::int64_t>(file.st_size - data.mapoffset, 0);
  return std::min<std::size_t>(static_cast<std::size_t>(there), data.maxsize);
}

bool isCorrupted(const pw_buffer& buffer) {
  const auto* header = metadataIn<spa_meta_header>(buffer, SPA_META_Header);
  const auto chunkFlags = static_cast<std::uint32_t>(buffer.buffer->datas[0].chunk->flags);
  return (header != nullptr && (header->flags & SPA_META_HEADER_FLAG_CORRUPTED) != 0) ||
         (chunkFlags & SPA_CHUNK_FLAG_CORRUPTED) != 0;
}

// Returns null if there is none that could hold a picture.
const spa_data* dataOf(const pw_buffer& buffer) {
  if (buffer.buffer->n_datas < 1) return nullptr;
  const spa_data* data = buffer.buffer->datas;
  return data->data == nullptr || data->chunk == nullptr ? nullptr : data;
}

RawBuffer rawBuffer(const pw_buffer& buffer, const spa_data& data, std::size_t readable) {
  return {static_cast<const std::uint8_t*>(data.data),
          readable,
          data.chunk->offset,
          data.chunk->size,
          data.chunk->stride,
          isCorrupted(buffer)};
}

}  // namespace

bool StreamBuffer::hasMemory() const {
  return dataOf(*buffer_) != nullptr;
}

std::optional<RawPicture> StreamBuffer::picture(const VideoFormat& format) const {
  const spa_data* data = dataOf(*buffer_);
  if (data == nullptr) return std::nullopt;
  return pictureIn(rawBuffer(*buffer_, *data, readableBytes(*data)), format);
}

std::optional<RawPicture> StreamBuffer::announcedPicture(const VideoFormat& format) const {
  const spa_data* data = dataOf(*buffer_);
  if (data == nullptr) return std::nullopt;
  return pictureIn(rawBuffer(*buffer_, *data, data->maxsize), format);
}

bool StreamBuffer::claimsPicture() const {
  const spa_data* data = dataOf(*buffer_);
  return data != nullptr && rawBuffer(*buffer_, *data, 0).hasPicture();
}

SharedMap StreamBuffer::sharedMap() const {
  const spa_data* data = dataOf(*buffer_);
  if (data == nullptr || data->type != SPA_DATA_MemFd) return {};
  return {static_cast<const std::uint8_t*>(data->data), data->maxsize, static_cast<int>(data->fd),
          data->mapoffset};
}

PixelRect StreamBuffer::content(const PixelRect& frame) const {
  const auto* crop = metadataIn<spa_meta_region>(*buffer_, SPA_META_VideoCrop);
  if (crop == nullptr) return frame;
  const PixelRect content = clipped(regionOf(*crop), frame);
  return content.isEmpty() ? frame : content;
}

VideoTransform StreamBuffer::transform() const {
  const auto* meta = metadataIn<spa_meta_videotransform>(*buffer_, SPA_META_VideoTransform);
  return meta == nullptr ? VideoTransform() : VideoTransform::read(meta->transform);
}

std::optional<StreamBuffer::Time> StreamBuffer::time() const {
  const auto* header = metadataIn<spa_meta_header>(*buffer_, SPA_META_Header);
  if (header == nullptr) return std::nullopt;
  const Time time(header->pts, header->seq);
  return time == Time() ? std::nullopt : std::optional(time);
}

std::optional<PixelRects> StreamBuffer::damage(const PixelRect& frame) const {
  const spa_meta* meta = spa_buffer_find_meta(buffer_->buffer, SPA_META_VideoDamage);
  if (meta == nullptr) return std::nullopt;
  PixelRects rects;
  const auto* regions = static_cast<const spa_meta_region*>(meta->data);
  for (std::size_t i = 0; i < meta->size / sizeof(spa_meta_region); ++i) {
    if (regions[i].region.size.width == 0 || regions[i].region.size.height == 0) break;
    const PixelRect rect = clipped(regionOf(regions[i]), frame);
    if (!rect.isEmpty()) rects.push_back(rect);
  }
  if (rects.empty()) return std::nullopt;
  return rects;
}

std::span<const std::uint8_t> StreamBuffer::cursorMetadata() const {
  const spa_meta* meta = spa_buffer_find_meta(buffer_->buffer, SPA_META_Cursor);
  if (meta == nullptr) return {};
  return {static_cast<const std::uint8_t*>(meta->data), meta->size};
}

bool StreamBuffers::lackMemory() const {
  return !buffers_.empty() &&
         std::none_of(buffers_.begin(), buffers_.end(),
                      [](const pw_buffer* b) { return StreamBuffer(*b).hasMemory(); });
}

/// Producers may change what they describe at any time, so it is read once.
const pw_buffer* StreamBuffers::newest(const VideoFormat& format) const {
  const pw_buffer* newest = nullptr;
  StreamBuffer::Time latest;
  bool isClear = false;
  for (const pw_buffer* buffer : buffers_) {
    const StreamBuffer given(*buffer);
    const auto time = given.time();
    if (!time || !given.picture(format)) continue;
    if (newest != nullptr && *time == latest) isClear = false;
    if (newest != nullptr && *time <= latest) continue;
    newest = buffer;
    latest = *time;
    isClear = true;
  }
  return isClear ? newest : nullptr;
}

namespace {

constexpr std::int32_t farthest = 1 << 20;  // pixels: no screen is there

// The positions of alpha, red, green and blue among the bytes of a pixel.
struct Layout {
  std::size_t alpha;
  std::size_t red;
  std::size_t green;
  std::size_t blue;
};

std::optional<Layout> layoutOf(std::uint32_t format) {
  switch (format) {
    case SPA_VIDEO_FORMAT_BGRA:
      return Layout{3, 2, 1, 0};
    case SPA_VIDEO_FORMAT_RGBA:
      return Layout{3, 0, 1, 2};
    case SPA_VIDEO_FORMAT_ARGB:
      return Layout{0, 1, 2, 3};
    case SPA_VIDEO_FORMAT_ABGR:
      return Layout{0, 3, 2, 1};
    default:
      return std::nullopt;
  }
}

std::uint32_t pixelOf(const std::uint8_t* bytes, const Layout& layout) {
  return (std::uint32_t{bytes[layout.alpha]} << 24U) | (std::uint32_t{bytes[layout.red]} << 16U) |
         (std::uint32_t{bytes[layout.green]} << 8U) | std::uint32_t{bytes[layout.blue]};
}

// Metadata may be unaligned in the producer's memory.
template <class T>
std::optional<T> valueAt(const std::uint8_t* metadata, std::size_t size, std::size_t offset) {
  if (offset > size || size - offset < sizeof(T)) return std::nullopt;
  T value{};
  std::memcpy(&value, metadata + offset, sizeof(T));
  return value;
}

bool isSane(const spa_meta_bitmap& bitmap, std::size_t room) {
  const auto isLength = [](std::uint32_t pixels) {
    return pixels >= 1 && pixels <= CursorMetadata::longest;
  };
  if (!isLength(bitmap.size.width) || !isLength(bitmap.size.height)) return false;
  const std::size_t rowBytes = std::size_t{bitmap.size.width} * 4;
  if (bitmap.stride < 0 || static_cast<std::size_t>(bitmap.stride) < rowBytes) return false;
  const std::size_t needed =
      (bitmap.size.height - 1) * static_cast<std::size_t>(bitmap.stride) + rowBytes;
  return bitmap.offset >= sizeof(bitmap) && bitmap.offset <= room && needed <= room - bitmap.offset;
}

std::int32_t place(std::int32_t position, std::int32_t hotspot) {
  return std::clamp(position, -farthest, farthest) - std::clamp(hotspot, -farthest, farthest);
}

bool differs(const std::optional<CursorImage>& a, const std::optional<CursorImage>& b) {
  return a && b ? !a->sameAs(*b) : a.has_value() != b.has_value();
}

}  // namespace

std::size_t CursorMetadata::bytesFor(std::uint32_t length) {
  return sizeof(spa_meta_cursor) + sizeof(spa_meta_bitmap) + std::size_t{length} * length * 4;
}

bool CursorMetadata::read(const std::uint8_t* metadata, std::size_t size) {
  const auto cursor = valueAt<spa_meta_cursor>(metadata, size, 0);
  if (!cursor) return false;
  if (cursor->bitmap_offset >= sizeof(spa_meta_cursor)) {
    readBitmap(metadata, size, cursor->bitmap_offset);
  }
  std::optional<CursorImage> now;
  if (cursor->id != 0 && !pixels_.empty()) {
    now = CursorImage{{place(cursor->position.x, cursor->hotspot.x),
                       place(cursor->position.y, cursor->hotspot.y), width_, height_},
                      serial_,
                      pixels_};
  }
  const bool changed = differs(shown_, now);
  shown_ = std::move(now);
  return changed;
}

/// An invalid or missing bitmap is not shown.
void CursorMetadata::readBitmap(const std::uint8_t* metadata, std::size_t size,
                                std::size_t offset) {
  ++serial_;
  pixels_.clear();
  const auto bitmap = valueAt<spa_meta_bitmap>(metadata, size, offset);
  if (!bitmap || !isSane(*bitmap, size - offset)) return;
  const auto layout = layoutOf(bitmap->format);
  if (!layout) return;
  width_ = static_cast<std::int32_t>(bitmap->size.width);
  height_ = static_cast<std::int32_t>(bitmap->size.height);
  pixels_.reserve(std::size_t{bitmap->size.width} * bitmap->size.height);
  const std::uint8_t* first = metadata + offset + bitmap->offset;
  for (std::size_t y = 0; y < bitmap->size.height; ++y) {
    const std::uint8_t* row = first + y * static_cast<std::size_t>(bitmap->stride);
    for (std::size_t x = 0; x < bitmap->size.width; ++x)
      pixels_.push_back(pixelOf(row + x * 4, *layout));
  }
}

}  // namespace tarvinel::portal
