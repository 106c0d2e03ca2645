#include "app/capture/portal/VideoFormat.h"

#include <spa/buffer/buffer.h>
#include <spa/buffer/meta.h>
#include <spa/param/buffers.h>
#include <spa/param/video/format-utils.h>
#include <spa/pod/builder.h>

#include <algorithm>
#include <array>
#include <cstring>

namespace tarvinel::portal {

namespace {

constexpr std::array<std::uint32_t, 4> takenFormats{SPA_VIDEO_FORMAT_BGRx, SPA_VIDEO_FORMAT_BGRA,
                                                    SPA_VIDEO_FORMAT_RGBx, SPA_VIDEO_FORMAT_RGBA};

std::optional<PixelOrder> orderOf(std::uint32_t format) {
  switch (format) {
    case SPA_VIDEO_FORMAT_BGRx:
    case SPA_VIDEO_FORMAT_BGRA:
      return PixelOrder::bgr;
    case SPA_VIDEO_FORMAT_RGBx:
    case SPA_VIDEO_FORMAT_RGBA:
      return PixelOrder::rgb;
    default:
      return std::nullopt;
  }
}

/// One object of a stream's parameters while it is being written.
class ObjectWriter {
 public:
  ObjectWriter(std::vector<std::uint64_t>& storage, std::uint32_t type, std::uint32_t id) {
    spa_pod_builder_init(&builder_, storage.data(),
                         static_cast<std::uint32_t>(storage.size() * sizeof(std::uint64_t)));
    spa_pod_builder_push_object(&builder_, &object_, type, id);
  }

  void id(std::uint32_t key, std::uint32_t value) {
    spa_pod_builder_prop(&builder_, key, 0);
    spa_pod_builder_id(&builder_, value);
  }

  void integer(std::uint32_t key, std::int32_t value) {
    spa_pod_builder_prop(&builder_, key, 0);
    spa_pod_builder_int(&builder_, value);
  }

  /// The first value is the preferred one and is written twice.
  template <class Write>
  void choice(std::uint32_t key, std::uint32_t kind, Write&& write) {
    spa_pod_frame frame{};
    spa_pod_builder_prop(&builder_, key, 0);
    spa_pod_builder_push_choice(&builder_, &frame, kind, 0);
    write(builder_);
    spa_pod_builder_pop(&builder_, &frame);
  }

  void end() { spa_pod_builder_pop(&builder_, &object_); }

 private:
  spa_pod_builder builder_{};
  spa_pod_frame object_{};
};

void writeFormats(ObjectWriter& writer) {
  writer.choice(SPA_FORMAT_VIDEO_format, SPA_CHOICE_Enum, [](spa_pod_builder& builder) {
    spa_pod_builder_id(&builder, takenFormats.front());
    for (const std::uint32_t format : takenFormats)
      spa_pod_builder_id(&builder, format);
  });
}

void writeSizes(ObjectWriter& writer) {
  writer.choice(SPA_FORMAT_VIDEO_size, SPA_CHOICE_Range, [](spa_pod_builder& builder) {
    spa_pod_builder_rectangle(&builder, 1920, 1080);
    spa_pod_builder_rectangle(&builder, 1, 1);
    spa_pod_builder_rectangle(&builder, VideoFormat::longest, VideoFormat::longest);
  });
}

void writeRates(ObjectWriter& writer, std::uint32_t key, std::uint32_t preferred,
                std::uint32_t least, std::uint32_t most) {
  writer.choice(key, SPA_CHOICE_Range, [=](spa_pod_builder& builder) {
    for (const std::uint32_t rate : {preferred, least, most})
      spa_pod_builder_fraction(&builder, rate, 1);
  });
}

bool isRawVideo(const spa_pod& format) {
  std::uint32_t type = SPA_MEDIA_TYPE_unknown;
  std::uint32_t subtype = SPA_MEDIA_SUBTYPE_unknown;
  return spa_format_parse(&format, &type, &subtype) >= 0 && type == SPA_MEDIA_TYPE_video &&
         subtype == SPA_MEDIA_SUBTYPE_raw;
}

bool isLength(std::uint32_t pixels) {
  return pixels >= 1 && pixels <= VideoFormat::longest;
}

}  // namespace

std::optional<VideoFormat> VideoFormat::read(const spa_pod& format) {
  spa_video_info_raw info{};
  if (!isRawVideo(format) || spa_format_video_raw_parse(&format, &info) < 0) return std::nullopt;
  std::uint32_t layout = SPA_VIDEO_FORMAT_UNKNOWN;  // may be a value that the library does not know
  std::memcpy(&layout, &info.format, sizeof layout);
  const auto order = orderOf(layout);
  if (!order || !isLength(info.size.width) || !isLength(info.size.height)) return std::nullopt;
  return VideoFormat{*order, static_cast<std::int32_t>(info.size.width),
                     static_cast<std::int32_t>(info.size.height)};
}

StreamParameter StreamParameter::formats(std::int32_t framesPerSecond) {
  const auto rate = static_cast<std::uint32_t>(std::max(framesPerSecond, 1));
  StreamParameter parameter;
  ObjectWriter writer(parameter.storage_, SPA_TYPE_OBJECT_Format, SPA_PARAM_EnumFormat);
  writer.id(SPA_FORMAT_mediaType, SPA_MEDIA_TYPE_video);
  writer.id(SPA_FORMAT_mediaSubtype, SPA_MEDIA_SUBTYPE_raw);
  writeFormats(writer);
  writeSizes(writer);
  // screens report no rate (0), since they send a picture only when something changes
  writeRates(writer, SPA_FORMAT_VIDEO_framerate, 0, 0, 1000);
  writeRates(writer, SPA_FORMAT_VIDEO_maxFramerate, rate, 1, rate);
  writer.end();
  return parameter;
}

StreamParameter StreamParameter::buffers() {
  StreamParameter parameter;
  ObjectWriter writer(parameter.storage_, SPA_TYPE_OBJECT_ParamBuffers, SPA_PARAM_Buffers);
  constexpr std::int32_t readable = (1 << SPA_DATA_MemPtr) | (1 << SPA_DATA_MemFd);
  writer.choice(SPA_PARAM_BUFFERS_dataType, SPA_CHOICE_Flags,
                [](spa_pod_builder& builder) { spa_pod_builder_int(&builder, readable); });
  writer.end();
  return parameter;
}

StreamParameter StreamParameter::metadata(std::uint32_t type, std::uint32_t minBytes,
                                          std::uint32_t maxBytes) {
  StreamParameter parameter;
  ObjectWriter writer(parameter.storage_, SPA_TYPE_OBJECT_ParamMeta, SPA_PARAM_Meta);
  writer.id(SPA_PARAM_META_type, type);
  writer.choice(SPA_PARAM_META_size, SPA_CHOICE_Range, [=](spa_pod_builder& builder) {
    for (const std::uint32_t bytes : {maxBytes, minBytes, maxBytes})
      spa_pod_builder_int(&builder, static_cast<std::int32_t>(bytes));
  });
  writer.end();
  return parameter;
}

const spa_pod* StreamParameter::pod() const {
  return reinterpret_cast<const spa_pod*>(storage_.data());
}

}  // namespace tarvinel::portal
