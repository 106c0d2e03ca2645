#include "core/frames/JPEGCompressor.h"

#include <jerror.h>

#include <exception>
#include <utility>

namespace tarvinel {

namespace {

bool resize(Bytes& bytes, std::size_t size) {
  try {
    bytes.resize(size);
    return true;
  } catch (const std::exception&) {
    return false;
  }
}

void stayQuiet(j_common_ptr /*compressor*/) {}

}  // namespace

JPEGCompressor::JPEGCompressor() {
  compressor_.err = jpeg_std_error(&errors_);
  errors_.error_exit = failed;
  errors_.output_message = stayQuiet;
  destination_.init_destination = begin;
  destination_.empty_output_buffer = grow;
  destination_.term_destination = finish;
  if (setjmp(errors_.failed) != 0) return;  // without memory for it, `run` fails as well
  jpeg_create_compress(&compressor_);
  compressor_.dest = &destination_;
}

JPEGCompressor::~JPEGCompressor() {
  jpeg_destroy_compress(&compressor_);
}

bool JPEGCompressor::Destination::prepare(std::size_t size) {
  return resize(bytes, size);
}

Bytes JPEGCompressor::Destination::take() {
  return std::exchange(bytes, {});
}

void JPEGCompressor::failed(j_common_ptr compressor) {
  std::longjmp(static_cast<Errors*>(compressor->err)->failed, 1);
}

void JPEGCompressor::begin(j_compress_ptr compressor) {
  auto& destination = *static_cast<Destination*>(compressor->dest);
  destination.next_output_byte = destination.bytes.data();
  destination.free_in_buffer = destination.bytes.size();
}

boolean JPEGCompressor::grow(j_compress_ptr compressor) {
  auto& destination = *static_cast<Destination*>(compressor->dest);
  const std::size_t full = destination.bytes.size();
  if (!resize(destination.bytes, full * 2)) ERREXIT1(compressor, JERR_OUT_OF_MEMORY, 0);
  destination.next_output_byte = destination.bytes.data() + full;
  destination.free_in_buffer = destination.bytes.size() - full;
  return TRUE;
}

void JPEGCompressor::finish(j_compress_ptr compressor) {
  auto& destination = *static_cast<Destination*>(compressor->dest);
  destination.bytes.resize(destination.bytes.size() - destination.free_in_buffer);
}

}  // namespace tarvinel
