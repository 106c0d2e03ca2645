#include "core/frames/JPEGWriter.h"

#include "core/frames/JPEGCompressor.h"

#include <algorithm>
#include <array>
#include <string>

namespace tarvinel {

namespace {

// Returns about the size of a desktop at the best quality in use, so that growing is rare.
std::size_t expectedSize(const PixelView& picture) {
  return picture.width * picture.height / 4 + 4096;
}

void setParameters(jpeg_compress_struct& compressor, const PixelView& picture, int quality,
                   ChromaSampling chroma) {
  compressor.image_width = static_cast<JDIMENSION>(picture.width);
  compressor.image_height = static_cast<JDIMENSION>(picture.height);
  compressor.input_components = 4;
  compressor.in_color_space = JCS_EXT_BGRX;
  jpeg_set_defaults(&compressor);
  jpeg_set_quality(&compressor, quality, TRUE);
  compressor.dct_method = JDCT_ISLOW;
  const int luma = chroma == ChromaSampling::full ? 1 : 2;  // samples for each chroma sample
  compressor.comp_info[0].h_samp_factor = luma;
  compressor.comp_info[0].v_samp_factor = luma;
}

// The library's row type is not const, although the library only reads.
JSAMPROW rowOf(const PixelView& picture, std::size_t y) {
  return const_cast<JSAMPROW>(picture.row(y));
}

void writeRows(jpeg_compress_struct& compressor, const PixelView& picture) {
  std::array<JSAMPROW, 16> rows{};
  while (compressor.next_scanline < compressor.image_height) {
    const std::size_t first = compressor.next_scanline;
    const std::size_t count = std::min(rows.size(), picture.height - first);
    for (std::size_t i = 0; i < count; ++i)
      rows[i] = rowOf(picture, first + i);
    jpeg_write_scanlines(&compressor, rows.data(), static_cast<JDIMENSION>(count));
  }
}

}  // namespace

Bytes writeJPEG(const PixelView& picture, int quality, ChromaSampling chroma) {
  Bytes file = JPEGCompressor().run(expectedSize(picture), [&](jpeg_compress_struct& compressor) {
    setParameters(compressor, picture, quality, chroma);
    jpeg_start_compress(&compressor, TRUE);
    writeRows(compressor, picture);
    jpeg_finish_compress(&compressor);
  });
  if (file.empty()) throw JPEGEncodeError::encodeFailed();
  return file;
}

JPEGEncodeError JPEGEncodeError::unsupportedPixelFormat(PixelFormat format) {
  return {Case::unsupportedPixelFormat, format,
          "unsupportedPixelFormat(" + std::to_string(format) + ")"};
}

JPEGEncodeError JPEGEncodeError::lockFailed(std::int32_t status) {
  return {Case::lockFailed, status, "lockFailed(" + std::to_string(status) + ")"};
}

JPEGEncodeError JPEGEncodeError::contextFailed() {
  return {Case::contextFailed, 0, "contextFailed"};
}

JPEGEncodeError JPEGEncodeError::encodeFailed() {
  return {Case::encodeFailed, 0, "encodeFailed"};
}

namespace {

constexpr std::uint8_t markerPrefix = 0xFF;
constexpr std::size_t startOfImageLength = 2;
constexpr std::size_t frameHeaderLength = 9;  // up to the width

std::size_t number(const Bytes& file, std::size_t at) {
  return std::size_t{file[at]} << 8 | file[at + 1];
}

// Returns whether `marker` is a start of frame: the range also holds three that are not.
bool beginsFrame(std::uint8_t marker) {
  return marker >= 0xC0 && marker <= 0xCF && marker != 0xC4 && marker != 0xC8 && marker != 0xCC;
}

}  // namespace

std::optional<PixelSize> sizeOfJPEG(const Bytes& file) {
  std::size_t at = startOfImageLength;
  while (at + frameHeaderLength <= file.size() && file[at] == markerPrefix) {
    if (beginsFrame(file[at + 1])) {
      return PixelSize{static_cast<std::int64_t>(number(file, at + 7)),
                       static_cast<std::int64_t>(number(file, at + 5))};
    }
    at += 2 + number(file, at + 2);
  }
  return std::nullopt;
}

}  // namespace tarvinel
