#include "app/capture/TilePipeline.h"

#include "core/frames/PixelBufferJPEGEncoder.h"

#include <exception>
#include <limits>
#include <utility>

namespace tarvinel {

namespace {

// Wider or higher pictures do not fit the message.
constexpr std::size_t maxLength = std::numeric_limits<std::uint16_t>::max();

// Above this the reduced tiles would be larger than the reduced picture is meant to be.
constexpr double halvingScale = 0.5001;

// Reducing mixes pixels across the edges of what changed.
constexpr double spread = 2;  // pixels

bool showsSamePart(const TileInput& before, const TileInput& now) {
  return before.buffer->width() == now.buffer->width() &&
         before.buffer->height() == now.buffer->height() && before.crop == now.crop &&
         before.scale == now.scale;
}

// Returns the pixels of the reduced content that an area of it covers or touches.
PixelRect covering(const Rect& area, double scale) {
  const double margin = scale < 1 ? spread : 0;
  const Rect pixels = Rect{(area.x - margin) * scale, (area.y - margin) * scale,
                           (area.width + 2 * margin) * scale, (area.height + 2 * margin) * scale}
                          .integral();
  return {static_cast<std::int32_t>(pixels.x), static_cast<std::int32_t>(pixels.y),
          static_cast<std::int32_t>(pixels.width), static_cast<std::int32_t>(pixels.height)};
}

}  // namespace

TilePipeline::TilePipeline(FrameBroadcaster& broadcaster, Logger logger)
    : broadcaster_(broadcaster), logger_(std::move(logger)) {}

void TilePipeline::begin(tiles::Composer::Qualities qualities, std::int64_t motionFPS) {
  qualities_ = qualities;
  composer_.setMotionFPS(motionFPS);
  composer_.restart();
  isUnable_ = false;
  forget();
}

void TilePipeline::frame(TileInput input, const std::optional<std::vector<Rect>>& dirty,
                         double at) {
  const std::optional<TileInput> before = std::exchange(input_, std::move(input));
  if (dirty && before && showsSamePart(*before, *input_)) {
    touch(*dirty);
  } else {
    composer_.touchAll();
  }
  if (broadcaster_.tileViewerCount() > 0) {
    compose(at);
  } else {
    broadcaster_.clearTiles();
    motionBytes_ = 0;
  }
}

void TilePipeline::touch(const std::vector<Rect>& dirty) {
  const Rect content =
      croppedArea(input_->buffer->width(), input_->buffer->height(), input_->crop).rect();
  PixelRects areas;
  for (const Rect& area : dirty) {
    const Rect inside = area.intersection(content);
    if (inside.isEmpty()) continue;
    areas.push_back(covering(
        {inside.x - content.x, inside.y - content.y, inside.width, inside.height}, input_->scale));
  }
  composer_.touch(areas);
}

void TilePipeline::tick(double at) {
  if (needsTicks()) compose(at);
}

bool TilePipeline::needsTicks() const {
  return input_ && !isUnable_ && composer_.isUnsettled() && broadcaster_.tileViewerCount() > 0;
}

void TilePipeline::viewerWaits(double at) {
  if (!input_ || broadcaster_.tileViewerCount() == 0) return;
  if (!broadcaster_.hasTiles() || !composer_.isComplete()) compose(at, true);
}

void TilePipeline::compose(double at, bool isCompletion) {
  const bool wasUnable = std::exchange(isUnable_, false);
  try {
    withPicture(*input_->buffer, input_->crop, input_->scale,
                [&](const PixelView& picture) { compose(picture, at, isCompletion); });
  } catch (const std::exception& error) {
    isUnable_ = true;
    broadcaster_.clearTiles();
    if (wasUnable) return;
    logger_->error("encode of tiles failed {}x{}: {}", input_->buffer->width(),
                   input_->buffer->height(), error.what());
  }
}

void TilePipeline::compose(const PixelView& picture, double at, bool isCompletion) {
  if (picture.width > maxLength || picture.height > maxLength) {
    throw JPEGEncodeError::contextFailed();
  }
  composer_.begin(
      {static_cast<std::int32_t>(picture.width), static_cast<std::int32_t>(picture.height)},
      qualities_, input_->motionScale <= halvingScale * input_->scale);
  const auto table = !broadcaster_.hasTiles() ? composer_.composeAll(picture, at)
                     : isCompletion           ? composer_.composeComplete(picture, at)
                                              : composer_.compose(picture, at);
  motionBytes_ = composer_.motionBytes();
  if (table) broadcaster_.publishTiles(table);
}

}  // namespace tarvinel
