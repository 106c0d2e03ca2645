#pragma once

#include "app/doctor/Finding.h"

#include <cstddef>
#include <ostream>
#include <string>

namespace tarvinel {

/// Writes findings for people: the state, the topic, what was found, and under it what to do.
class DoctorReport {
 public:
  /// How it looks. Plain value.
  struct Style {
    bool hasColours = false;
    std::size_t columns = 0;  ///< lines are wrapped to fit; 0: they are not

    /// What fits standard output: colours and wrapped lines only where that is a terminal.
    static Style forStandardOutput();
  };

  /// `out` outlives it.
  DoctorReport(std::ostream& out, Style style) : out_(out), style_(style) {}

  /// Control characters of the texts are not written: parts of them come from elsewhere.
  void add(const std::string& topic, const Finding& finding);

  /// Writes how many things are to be mended.
  void finish();

  bool mustMend() const { return toBeMended_ > 0; }

 private:
  void writeLine(const std::string& text, std::size_t column);
  std::string painted(Finding::State state, const std::string& text) const;

  std::ostream& out_;
  const Style style_;
  int toBeMended_ = 0;
};

}  // namespace tarvinel
