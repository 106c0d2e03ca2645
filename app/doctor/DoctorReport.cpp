#include "app/doctor/DoctorReport.h"

#include "core/support/ASCII.h"

#include <fmt/format.h>

namespace tarvinel {

namespace {

constexpr int textColumn = 30;

std::string_view wordFor(Finding::State state) {
  switch (state) {
    case Finding::State::fine:
      return "fine";
    case Finding::State::worthKnowing:
      return "worth knowing";
    case Finding::State::toBeMended:
      break;
  }
  return "to be mended";
}

std::string_view colourOf(Finding::State state) {
  switch (state) {
    case Finding::State::fine:
      return "\x1b[32m";  // green
    case Finding::State::worthKnowing:
      return "\x1b[33m";  // yellow
    case Finding::State::toBeMended:
      break;
  }
  return "\x1b[1;31m";  // bold red
}

}  // namespace

void DoctorReport::add(const std::string& topic, const Finding& finding) {
  if (finding.state == Finding::State::toBeMended) ++toBeMended_;
  out_ << painted(finding.state, fmt::format("{:<14}", wordFor(finding.state)))
       << fmt::format("{:<16}{}\n", topic, withoutControls(finding.what));
  for (const std::string& line : finding.advice)
    out_ << fmt::format("{:{}}{}\n", "", textColumn, withoutControls(line));
  out_ << std::flush;
}

void DoctorReport::finish() {
  if (toBeMended_ == 0) {
    out_ << "\nNothing has to be mended.\n";
  } else if (toBeMended_ == 1) {
    out_ << "\nOne thing has to be mended.\n";
  } else {
    out_ << fmt::format("\n{} things have to be mended.\n", toBeMended_);
  }
  out_ << std::flush;
}

std::string DoctorReport::painted(Finding::State state, const std::string& text) const {
  if (colours_ == Colours::none) return text;
  return fmt::format("{}{}\x1b[0m", colourOf(state), text);
}

}  // namespace tarvinel
