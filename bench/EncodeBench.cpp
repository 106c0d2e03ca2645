// Encodes one frame with the program's encoder and with the bare library calls that do the same job
// with everything allocated beforehand. Each pair is measured alternately, so that `ratio`
// (medians, ours over bare) does not depend on the machine's load.

#include "bench/DesktopPicture.h"
#include "core/frames/PixelBufferJPEGEncoder.h"

#include <benchmark/benchmark.h>
#include <libyuv/scale_argb.h>

#include <jpeglib.h>

#include <algorithm>
#include <chrono>
#include <cstddef>
#include <cstdio>
#include <vector>

namespace tarvinel {
namespace {

struct Job {
  const char* name;
  std::size_t width;
  std::size_t height;
  int divisor;  // of width and height
  int quality;
  ChromaSampling chroma;
};

constexpr Job jobs[] = {
    {"motion half 1080p", 1920, 1080, 2, 70, ChromaSampling::quartered},
    {"motion full 1080p", 1920, 1080, 1, 70, ChromaSampling::quartered},
    {"settled 1080p", 1920, 1080, 1, 92, ChromaSampling::full},
    {"motion half 4K", 3840, 2160, 2, 70, ChromaSampling::quartered},
    {"motion full 4K", 3840, 2160, 1, 70, ChromaSampling::quartered},
    {"settled 4K", 3840, 2160, 1, 92, ChromaSampling::full},
};

/// Makes the bare library calls; reuses the surface and the output for every frame.
class BareEncoder {
 public:
  explicit BareEncoder(const Job& job)
      : job_(job),
        width_(job.width / static_cast<std::size_t>(job.divisor)),
        height_(job.height / static_cast<std::size_t>(job.divisor)),
        surface_(width_ * height_ * 4),
        output_(job.width * job.height * 4) {}

  std::size_t encode(const PixelBuffer& picture) {
    if (job_.divisor == 1) return compress(picture.baseAddress());
    libyuv::ARGBScale(picture.baseAddress(), static_cast<int>(job_.width * 4),
                      static_cast<int>(job_.width), static_cast<int>(job_.height), surface_.data(),
                      static_cast<int>(width_ * 4), static_cast<int>(width_),
                      static_cast<int>(height_), libyuv::kFilterBox);
    return compress(surface_.data());
  }

 private:
  std::size_t compress(const std::uint8_t* pixels) {
    jpeg_error_mgr errors;
    jpeg_compress_struct compressor{};
    compressor.err = jpeg_std_error(&errors);
    jpeg_create_compress(&compressor);
    unsigned char* out = output_.data();
    unsigned long size = output_.size();
    jpeg_mem_dest(&compressor, &out, &size);
    compressor.image_width = static_cast<JDIMENSION>(width_);
    compressor.image_height = static_cast<JDIMENSION>(height_);
    compressor.input_components = 4;
    compressor.in_color_space = JCS_EXT_BGRX;
    jpeg_set_defaults(&compressor);
    jpeg_set_quality(&compressor, job_.quality, TRUE);
    const int luma = job_.chroma == ChromaSampling::full ? 1 : 2;
    compressor.comp_info[0].h_samp_factor = luma;
    compressor.comp_info[0].v_samp_factor = luma;
    jpeg_start_compress(&compressor, TRUE);
    while (compressor.next_scanline < compressor.image_height) {
      auto* row = const_cast<JSAMPROW>(pixels + compressor.next_scanline * width_ * 4);
      jpeg_write_scanlines(&compressor, &row, 1);
    }
    jpeg_finish_compress(&compressor);
    jpeg_destroy_compress(&compressor);
    return size;
  }

  const Job& job_;
  std::size_t width_;
  std::size_t height_;
  std::vector<std::uint8_t> surface_;
  std::vector<std::uint8_t> output_;
};

template <class Work>
double milliseconds(Work work) {
  const auto begun = std::chrono::steady_clock::now();
  work();
  return std::chrono::duration<double, std::milli>(std::chrono::steady_clock::now() - begun)
      .count();
}

double median(std::vector<double> values) {
  std::sort(values.begin(), values.end());
  return values[values.size() / 2];
}

void measure(benchmark::State& state, const Job& job) {
  const auto picture = desktopPicture(job.width, job.height);
  BareEncoder bareEncoder(job);
  std::vector<double> ours;
  std::vector<double> bare;
  std::size_t size = 0;
  std::size_t bareSize = 0;
  for ([[maybe_unused]] auto _ : state) {
    bare.push_back(milliseconds([&] { bareSize = bareEncoder.encode(*picture); }));
    ours.push_back(milliseconds([&] {
      size = PixelBufferJPEGEncoder::encode(*picture, job.quality / 100.0, std::nullopt,
                                            1.0 / job.divisor, job.chroma)
                 ->size();
    }));
    state.SetIterationTime(ours.back() / 1000);
  }
  if (size != bareSize) state.SkipWithError("the two did not do the same job");
  state.counters["ours_ms"] = median(ours);
  state.counters["bare_ms"] = median(bare);
  state.counters["ratio"] = median(ours) / median(bare);
  state.counters["bytes"] = static_cast<double>(size);
}

}  // namespace
}  // namespace tarvinel

int main(int argc, char** argv) {
  benchmark::Initialize(&argc, argv);
  for (const tarvinel::Job& job : tarvinel::jobs) {
    benchmark::RegisterBenchmark(job.name,
                                 [&job](benchmark::State& state) { tarvinel::measure(state, job); })
        ->UseManualTime()
        ->MinTime(3)
        ->Unit(benchmark::kMillisecond);
  }
  benchmark::RunSpecifiedBenchmarks();
  benchmark::Shutdown();
}
