#pragma once

#include "app/doctor/Finding.h"

#include <cstdint>
#include <ostream>
#include <string>

namespace tarvinel {

/// Writes findings for people: the state, the topic, what was found, and under it what to do.
class DoctorReport {
 public:
  enum class Colours : std::uint8_t { none, terminal };

  /// `out` outlives it.
  DoctorReport(std::ostream& out, Colours colours) : out_(out), colours_(colours) {}

  /// Control characters of the texts are not written: parts of them come from elsewhere.
  void add(const std::string& topic, const Finding& finding);

  /// Writes how many things are to be mended.
  void finish();

  bool mustMend() const { return toBeMended_ > 0; }

 private:
  std::string painted(Finding::State state, const std::string& text) const;

  std::ostream& out_;
  const Colours colours_;
  int toBeMended_ = 0;
};

}  // namespace tarvinel
