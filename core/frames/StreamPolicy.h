#pragma once

#include <cstdint>

namespace tarvinel {

/// Turns a running byte counter, read once a second, into megabits per second. A plain value.
class TrafficMeter {
 public:
  /// Returns the traffic since the previous reading, with one decimal, halves rounded up.
  double measure(std::int64_t bytesSent);

 private:
  std::int64_t lastBytesSent_ = 0;
};

/// Computes how many motion frames a second the stream may carry. Pure functions, safe anywhere.
struct StreamPolicy {
  StreamPolicy() = delete;

  static constexpr std::int64_t defaultFloor = 4;     ///< lowest motion rate, frames per second
  static constexpr std::int64_t defaultCeiling = 20;  ///< highest motion rate, also used
                                                      ///< without measurements

  /// Returns the motion rate in frames per second that keeps all viewers within `budgetMbps`
  /// (megabits per second) in total. `motionFrameBytes` is the size of one encoded frame. A floor
  /// above the ceiling yields the ceiling. A rate that does not fit 64 bits stops the program.
  static std::int64_t motionFPS(std::int64_t viewers, std::int64_t motionFrameBytes, bool wired,
                                double budgetMbps, std::int64_t floor = defaultFloor,
                                std::int64_t ceiling = defaultCeiling);

  /// Returns the bytes per second that each of the viewers may get within the budget, with at least
  /// one viewer assumed.
  static double byteRate(std::int64_t viewers, bool wired, double budgetMbps);

  /// Returns the megabits per second of air time that a rate costs; nothing is checked or clamped.
  static double airtimeMbps(std::int64_t viewers, std::int64_t frameBytes, std::int64_t fps,
                            bool wired);
};

}  // namespace tarvinel
