#pragma once

#include "app/capture/portal/RawPicture.h"
#include "app/capture/portal/StreamBuffer.h"
#include "app/capture/portal/VideoFormat.h"
#include "app/capture/portal/VideoTransform.h"
#include "core/support/Geometry.h"
#include "core/support/Log.h"

#include <functional>
#include <optional>
#include <vector>

struct pw_buffer;

namespace tarvinel::portal {

/// Collects what the buffers of a stream report (damage, crop, transformation, cursor) until a
/// picture is shown, and shows it upright. Lives on the capture queue.
class FrameAccumulator {
 public:
  struct Handlers {
    /// Receives a picture, upright, valid during the call, and what has changed in it since the
    /// last one (nullopt: not known).
    std::function<void(const RawPicture& picture, const std::optional<PixelRects>& changed)>
        onPicture;

    /// Receives the cursor's new shape or place (the picture's pixels; nullopt: hidden).
    std::function<void(const std::optional<CursorImage>& cursor)> onCursor;
  };

  FrameAccumulator(Logger logger, Handlers handlers);

  const std::optional<VideoFormat>& format() const { return format_; }

  /// Sets the format of the buffers from now on; without one no picture is read.
  void setFormat(const std::optional<VideoFormat>& format);

  /// Records the cursor and the damage of a buffer. Returns whether its picture can be shown.
  bool add(const pw_buffer& buffer);

  /// Shows the picture of a buffer that was added, with the damage since the last one.
  void show(const pw_buffer& buffer);

  /// Shows the picture of a buffer that was found without being announced: the damage before it,
  /// and between it and the next one, is not known.
  void showFound(const pw_buffer& buffer);

  /// Reports the cursor if it has changed.
  void showCursor();

 private:
  bool hasPicture(const pw_buffer& buffer);
  void recordDamage(const pw_buffer& buffer);
  void recordView(const PixelRect& content, const VideoTransform& transform);
  void recordCursor(const pw_buffer& buffer);
  void loseTrack();
  void reportNonsense();
  PixelRect frameArea() const;

  const Logger logger_;
  const Handlers handlers_;
  std::optional<VideoFormat> format_;
  std::optional<PixelRects> damage_;  ///< since the last picture, frame's pixels; or unknown
  PixelRect content_;                 ///< where in the frame the last picture was
  VideoTransform transform_;          ///< of the last picture
  CursorMetadata cursor_;
  bool cursorChanged_ = false;  ///< and has not been reported yet
  FrameRotator rotator_;
  bool reportedLoss_ = false;
  bool reportedNonsense_ = false;
};

}  // namespace tarvinel::portal
