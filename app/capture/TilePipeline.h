#pragma once

#include "core/frames/FrameBroadcaster.h"
#include "core/frames/PixelBuffer.h"
#include "core/frames/tiles/Composer.h"
#include "core/support/Geometry.h"
#include "core/support/Log.h"

#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <vector>

namespace tarvinel {

/// A captured picture and how viewers are to see it.
struct TileInput {
  std::shared_ptr<PixelBuffer> buffer;
  std::optional<Rect> crop;  ///< pixels; where in the buffer the content is
  double scale = 1;          ///< by which the content is reduced
  double motionScale = 1;    ///< the same while it moves
};

/// The path of the picture to viewers of tiles. While there are none, it only remembers what
/// changed. Lives on the capture queue.
class TilePipeline {
 public:
  /// The broadcaster must outlive the pipeline.
  TilePipeline(FrameBroadcaster& broadcaster, Logger logger);

  /// Begins a new capture.
  void begin(tiles::Composer::Qualities qualities, std::int64_t motionFPS);

  /// Forgets the newest picture.
  void forget() { input_.reset(); }

  void setMotionFPS(std::int64_t framesPerSecond) { composer_.setMotionFPS(framesPerSecond); }

  /// Takes a new picture, of which `dirty` (pixels of the buffer) has changed; nullopt: all.
  void frame(TileInput input, const std::optional<std::vector<Rect>>& dirty, double at);

  /// Is called every 0.1 s while `needsTicks`.
  void tick(double at);
  bool needsTicks() const;

  /// Makes the picture as it is now available to a viewer who has joined or needs what others do
  /// not.
  void viewerWaits(double at);

  /// Returns whether viewers of tiles get whole frames, because the picture cannot be made of
  /// tiles.
  bool isUnable() const { return isUnable_; }

  /// Returns the bytes that the last call encoded for a large change; 0: none.
  std::size_t motionBytes() const { return motionBytes_; }

 private:
  void touch(const std::vector<Rect>& dirty);
  void compose(double at, bool isCompletion = false);
  void compose(const PixelView& picture, double at, bool isCompletion);

  FrameBroadcaster& broadcaster_;
  const Logger logger_;
  tiles::Composer::Qualities qualities_;
  tiles::Composer composer_;
  std::optional<TileInput> input_;
  bool isUnable_ = false;
  std::size_t motionBytes_ = 0;
};

}  // namespace tarvinel
