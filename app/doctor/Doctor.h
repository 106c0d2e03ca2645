#pragma once

#include "app/doctor/Check.h"
#include "app/doctor/DoctorReport.h"

#include <chrono>
#include <vector>

namespace tarvinel {

/// Runs checks, all at once, and reports them in their order.
class Doctor {
 public:
  /// How long a check may take before it counts as late.
  static constexpr std::chrono::seconds defaultPatience{10};

  explicit Doctor(std::vector<Check> checks, std::chrono::milliseconds patience = defaultPatience)
      : checks_(std::move(checks)), patience_(patience) {}

  /// To be called while this process has one thread. Throws std::system_error.
  void run(DoctorReport& report) const;

 private:
  const std::vector<Check> checks_;
  const std::chrono::milliseconds patience_;
};

}  // namespace tarvinel
