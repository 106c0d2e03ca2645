#include "tests/support/DecodedJPEG.h"

// jpeglib.h needs size_t and FILE declared before it
// clang-format off
#include <cstddef>
#include <cstdio>
#include <jpeglib.h>
// clang-format on

#include <csetjmp>
#include <stdexcept>

namespace tarvinel::test {

namespace {

struct Errors : jpeg_error_mgr {
  std::jmp_buf failed;
};

[[noreturn]] void jumpOut(j_common_ptr decompressor) {
  std::longjmp(static_cast<Errors*>(decompressor->err)->failed, 1);
}

void describeInto(DecodedJPEG& picture, const jpeg_decompress_struct& decompressor) {
  picture.width = decompressor.output_width;
  picture.height = decompressor.output_height;
  picture.components = decompressor.num_components;
  picture.lumaSamplesAcross = decompressor.comp_info[0].h_samp_factor;
  picture.lumaSamplesDown = decompressor.comp_info[0].v_samp_factor;
  picture.progressive = decompressor.progressive_mode != 0;
  picture.rgb.resize(picture.width * picture.height * 3);
}

bool decodeInto(DecodedJPEG& picture, jpeg_decompress_struct& decompressor, const Bytes& file) {
  if (setjmp(static_cast<Errors*>(decompressor.err)->failed) != 0) return false;
  jpeg_create_decompress(&decompressor);
  jpeg_mem_src(&decompressor, file.data(), file.size());
  jpeg_read_header(&decompressor, TRUE);
  decompressor.out_color_space = JCS_RGB;
  jpeg_start_decompress(&decompressor);
  describeInto(picture, decompressor);
  while (decompressor.output_scanline < decompressor.output_height) {
    JSAMPROW row = picture.rgb.data() + decompressor.output_scanline * picture.width * 3;
    jpeg_read_scanlines(&decompressor, &row, 1);
  }
  jpeg_finish_decompress(&decompressor);
  return true;
}

}  // namespace

DecodedJPEG DecodedJPEG::decode(const Bytes& file) {
  Errors errors;
  jpeg_std_error(&errors);
  errors.error_exit = jumpOut;
  jpeg_decompress_struct decompressor{};
  decompressor.err = &errors;
  DecodedJPEG picture;
  const bool decoded = decodeInto(picture, decompressor, file);
  jpeg_destroy_decompress(&decompressor);
  if (!decoded) throw std::runtime_error("not a JPEG");
  if (errors.num_warnings > 0) throw std::runtime_error("a corrupt JPEG");
  return picture;
}

DecodedJPEG::Pixel DecodedJPEG::at(std::size_t x, std::size_t y) const {
  const std::uint8_t* pixel = &rgb.at((y * width + x) * 3);
  return {pixel[0], pixel[1], pixel[2]};
}

}  // namespace tarvinel::test
