#include "app/capture/portal/StreamBuffer.h"

#include <pipewire/stream.h>
#include <spa/buffer/meta.h>
#include <sys/stat.h>

#include <algorithm>

namespace tarvinel::portal {

namespace {

template <class T>
const T* factsIn(const pw_buffer& buffer, std::uint32_t type) {
  return static_cast<const T*>(spa_buffer_find_meta_data(buffer.buffer, type, sizeof(T)));
}

RawRegion regionOf(const spa_meta_region& meta) {
  return {meta.region.position.x, meta.region.position.y, meta.region.size.width,
          meta.region.size.height};
}

// A producer may say more than its memory has: looking further would end the program.
std::size_t readableBytes(const spa_data& data) {
  if (data.type == SPA_DATA_MemPtr) return data.maxsize;
  struct stat file{};
  if (data.type != SPA_DATA_MemFd || fstat(static_cast<int>(data.fd), &file) != 0) return 0;
  const std::int64_t there = std::max<std::int64_t>(file.st_size - data.mapoffset, 0);
  return std::min<std::size_t>(static_cast<std::size_t>(there), data.maxsize);
}

bool isCorrupted(const pw_buffer& buffer) {
  const auto* header = factsIn<spa_meta_header>(buffer, SPA_META_Header);
  const auto chunkFlags = static_cast<std::uint32_t>(buffer.buffer->datas[0].chunk->flags);
  return (header != nullptr && (header->flags & SPA_META_HEADER_FLAG_CORRUPTED) != 0) ||
         (chunkFlags & SPA_CHUNK_FLAG_CORRUPTED) != 0;
}

// Null when there is none that could hold a picture.
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

std::optional<RawPicture> StreamBuffer::toldPicture(const VideoFormat& format) const {
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
  const auto* crop = factsIn<spa_meta_region>(*buffer_, SPA_META_VideoCrop);
  if (crop == nullptr) return frame;
  const PixelRect content = clipped(regionOf(*crop), frame);
  return content.isEmpty() ? frame : content;
}

VideoTransform StreamBuffer::transform() const {
  const auto* meta = factsIn<spa_meta_videotransform>(*buffer_, SPA_META_VideoTransform);
  return meta == nullptr ? VideoTransform() : VideoTransform::read(meta->transform);
}

std::optional<StreamBuffer::Time> StreamBuffer::time() const {
  const auto* header = factsIn<spa_meta_header>(*buffer_, SPA_META_Header);
  if (header == nullptr) return std::nullopt;
  const Time time(header->pts, header->seq);
  return time == Time() ? std::nullopt : std::optional(time);
}

std::optional<StreamBuffer::Rects> StreamBuffer::damage(const PixelRect& frame) const {
  const spa_meta* meta = spa_buffer_find_meta(buffer_->buffer, SPA_META_VideoDamage);
  if (meta == nullptr) return std::nullopt;
  Rects rects;
  const auto* regions = static_cast<const spa_meta_region*>(meta->data);
  for (std::size_t i = 0; i < meta->size / sizeof(spa_meta_region); ++i) {
    if (regions[i].region.size.width == 0 || regions[i].region.size.height == 0) break;
    const PixelRect rect = clipped(regionOf(regions[i]), frame);
    if (!rect.isEmpty()) rects.push_back(rect);
  }
  if (rects.empty()) return std::nullopt;
  return rects;
}

std::span<const std::uint8_t> StreamBuffer::cursorFacts() const {
  const spa_meta* meta = spa_buffer_find_meta(buffer_->buffer, SPA_META_Cursor);
  if (meta == nullptr) return {};
  return {static_cast<const std::uint8_t*>(meta->data), meta->size};
}

}  // namespace tarvinel::portal
