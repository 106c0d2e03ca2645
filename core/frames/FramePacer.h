#pragma once

#include <cstdint>
#include <optional>

namespace tarvinel {

/// Decides for every captured frame whether viewers get it. While the screen changes, motion frames
/// pass at the motion rate, small changes at a lower one; once the screen has been quiet for
/// `settleDelay`, one crisp frame follows.
///
/// A plain value without a clock: times are seconds on any monotonic clock. Lives on the queue of
/// its owner, which reports every frame and, while `crispDue`, calls `tick` from a timer.
class FramePacer {
 public:
  /// How much a captured frame changes.
  enum class Change : std::uint8_t { none, minor, major };

  /// What to do with the newest frame: nothing, encode it small and fast, or whole and sharp.
  enum class Action : std::uint8_t { skip, sendMotion, sendCrisp };

  /// A change below this fraction of the frame's area is minor.
  static constexpr double minorAreaFraction = 0.005;

  /// Rates in frames per second, at least 1 (smaller values count as 1); `settleDelay` in seconds.
  FramePacer(std::int64_t motionFPS, double settleDelay, std::int64_t minorFPS);

  /// Returns the change of a frame of which `dirtyFraction` (0 to 1) was redrawn; an unknown
  /// fraction counts as major.
  static Change change(std::optional<double> dirtyFraction, bool idle);

  /// Records a captured frame and returns the action for it. A frame without a change is a `tick`.
  Action frame(Change change, double at);

  /// Returns sendCrisp if the crisp frame is to be sent now.
  Action tick(double at);

  /// Returns true while a crisp frame is due for the latest changes; otherwise `tick` skips.
  bool crispDue() const { return crispDue_; }

  std::int64_t motionFPS() const { return motionFPS_; }
  void setMotionFPS(std::int64_t framesPerSecond);

  bool operator==(const FramePacer&) const = default;

 private:
  std::int64_t rate(Change change) const;
  bool tooSoon(std::int64_t rate, double at) const;

  std::int64_t motionFPS_;
  std::int64_t minorFPS_;
  double settleDelay_;
  std::optional<double> lastSentAt_;  // motion or crisp
  std::optional<double> lastChangeAt_;
  bool crispDue_ = false;
};

}  // namespace tarvinel
