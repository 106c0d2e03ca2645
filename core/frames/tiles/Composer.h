#pragma once

#include "core/frames/PixelBuffer.h"
#include "core/frames/tiles/Encoder.h"
#include "core/frames/tiles/Fingerprints.h"
#include "core/frames/tiles/Grid.h"
#include "core/frames/tiles/Table.h"

#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <vector>

namespace tarvinel::tiles {

/// Follows a picture and decides which of its tiles are encoded, when and how sharply: a small
/// change at once and sharply, a large one at the motion rate and quality, and what has been still
/// for `settleDelay` sharply once more. What has only scrolled is not encoded, unless a viewer
/// needs it.
///
/// Without a clock: times are seconds on any monotonic clock. Lives on the queue of its owner.
class Composer {
 public:
  static constexpr double settleDelay = 0.5;  ///< seconds

  /// A change of fewer tiles than this fraction is small.
  static constexpr double smallFraction = 0.02;

  /// The most tiles that are sharpened at a time, so that a small change never waits for long.
  static constexpr std::size_t maxSettledAtOnce = 512;

  /// Qualities of libjpeg, 1 to 100.
  struct Qualities {
    int motion = 70;
    int settled = 92;

    bool operator==(const Qualities&) const = default;
  };

  /// Begins another picture, unless everything given is as before. `isMotionHalved` is for screens
  /// of double density. Throws JPEGEncodeError.
  void begin(const Grid& grid, Qualities qualities, bool isMotionHalved);

  /// Makes every tile count as changed, for a picture whose content has nothing to do with the
  /// last.
  void restart();

  /// Frames per second of large changes, at least 1.
  void setMotionFPS(std::int64_t framesPerSecond);

  /// Marks what may have changed, in pixels of the picture.
  void touch(const PixelRects& areas);
  void touchAll();

  /// Returns the table after what is due now, or null if nothing is. The picture has the size that
  /// was begun. Throws JPEGEncodeError; what was not encoded stays due.
  std::shared_ptr<const Table> compose(const PixelView& picture, double at);

  /// Makes everything sharp that is not, and returns the table with all segments even if nothing
  /// changed.
  std::shared_ptr<const Table> composeAll(const PixelView& picture, double at);

  /// Does the same as `compose`, but returns a table with all segments: a viewer needs some.
  std::shared_ptr<const Table> composeComplete(const PixelView& picture, double at);

  /// Returns whether the table has all segments.
  bool isComplete() const;

  /// Returns whether something will be due without another touch.
  bool isUnsettled() const { return unsettled_ > 0; }

  /// Returns the size of the tiles that the last call encoded for a large change, in bytes; 0:
  /// none.
  std::size_t motionBytes() const { return motionBytes_; }

 private:
  struct State {
    bool isTouched = false;  ///< may differ from its fingerprint
    bool isChanged = false;  ///< differs from what viewers are shown
    double changedAt = 0;    ///< seconds
  };

  bool needsWork(Index tile) const;
  void findChanges(const PixelView& picture, double at);
  std::vector<Index> changedTiles() const;
  void encodeChanges(const PixelView& picture, double at);
  bool isSmall(const std::vector<Index>& tiles) const;
  void takeScroll(std::vector<Index>& changed);
  void settle(const PixelView& picture, double before, std::size_t atMost);
  void encode(const PixelView& picture, const std::vector<Index>& tiles, Quality quality);
  void complete(const PixelView& picture, Quality quality);
  void markShown(const std::vector<Index>& tiles);
  Encoder& encoder(Quality quality) { return quality == Quality::motion ? *motion_ : *settled_; }
  std::shared_ptr<const Table> published();

  Qualities qualities_;
  bool isMotionHalved_ = false;
  double motionInterval_ = 1;  // seconds
  std::unique_ptr<Encoder> motion_;
  std::unique_ptr<Encoder> settled_;
  std::optional<Fingerprints> fingerprints_;
  std::vector<State> states_;  // by tile
  Table table_;
  Version published_ = 0;
  std::optional<double> motionAt_;  // when motion was encoded last
  std::size_t unsettled_ = 0;       // tiles that need work
  std::size_t motionBytes_ = 0;
};

}  // namespace tarvinel::tiles
