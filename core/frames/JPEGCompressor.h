#pragma once

#include "core/support/Bytes.h"

// jpeglib.h needs size_t and FILE declared before it
// clang-format off
#include <csetjmp>
#include <cstddef>
#include <cstdio>
#include <jpeglib.h>
// clang-format on

namespace tarvinel {

/// libjpeg's compressor, which writes to memory and reports failures as a return value. Not
/// movable: the library keeps its address.
class JPEGCompressor {
 public:
  JPEGCompressor();
  ~JPEGCompressor();
  JPEGCompressor(const JPEGCompressor&) = delete;
  JPEGCompressor& operator=(const JPEGCompressor&) = delete;

  /// Calls `write` with the library's structure and returns what the library has written, or
  /// nothing if it failed. `write` must hold nothing that needs a destructor while
  /// it calls the library: the library reports an error by a call that must not return, and its own
  /// frames cannot be unwound by an exception, so an error jumps back to this function.
  /// `expectedSize` (bytes) makes growing rare.
  template <class Write>
  Bytes run(std::size_t expectedSize, const Write& write) {
    if (!destination_.prepare(expectedSize)) return {};
    if (setjmp(errors_.failed) != 0) {
      jpeg_abort_compress(&compressor_);
      return {};
    }
    write(compressor_);
    return destination_.take();
  }

 private:
  struct Errors : jpeg_error_mgr {
    std::jmp_buf failed;
  };

  struct Destination : jpeg_destination_mgr {
    bool prepare(std::size_t size);
    Bytes take();

    Bytes bytes;
  };

  static void failed(j_common_ptr compressor);
  static void begin(j_compress_ptr compressor);
  static boolean grow(j_compress_ptr compressor);
  static void finish(j_compress_ptr compressor);

  Errors errors_{};
  Destination destination_{};
  jpeg_compress_struct compressor_{};
};

}  // namespace tarvinel
