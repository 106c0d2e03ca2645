#include "core/frames/FramePacer.h"

#include <algorithm>

namespace tarvinel {

namespace {

// Lets frames pass that are delivered slightly early at the motion rate.
constexpr double slackSeconds = 0.0005;

std::int64_t atLeastOne(std::int64_t rate) {
  return std::max<std::int64_t>(1, rate);
}

}  // namespace

FramePacer::FramePacer(std::int64_t motionFPS, double settleDelay, std::int64_t minorFPS)
    : motionFPS_(atLeastOne(motionFPS)),
      minorFPS_(atLeastOne(minorFPS)),
      settleDelay_(settleDelay) {}

void FramePacer::setMotionFPS(std::int64_t framesPerSecond) {
  motionFPS_ = atLeastOne(framesPerSecond);
}

FramePacer::Change FramePacer::change(std::optional<double> dirtyFraction, bool idle) {
  if (idle) return Change::none;
  return dirtyFraction && *dirtyFraction < minorAreaFraction ? Change::minor : Change::major;
}

FramePacer::Action FramePacer::frame(Change change, double at) {
  if (change == Change::none) return tick(at);
  // a change counts even if its frame is skipped: it postpones the crisp frame and makes one due
  lastChangeAt_ = at;
  crispDue_ = true;
  if (tooSoon(rate(change), at)) return Action::skip;
  lastSentAt_ = at;
  return Action::sendMotion;
}

FramePacer::Action FramePacer::tick(double at) {
  if (!crispDue_ || !lastChangeAt_) return Action::skip;
  if (settleDelay_ > at - *lastChangeAt_) return Action::skip;
  crispDue_ = false;
  lastSentAt_ = at;
  return Action::sendCrisp;
}

std::int64_t FramePacer::rate(Change change) const {
  return change == Change::minor ? std::min(motionFPS_, minorFPS_) : motionFPS_;
}

bool FramePacer::tooSoon(std::int64_t rate, double at) const {
  return lastSentAt_ && at - *lastSentAt_ < 1.0 / static_cast<double>(rate) - slackSeconds;
}

}  // namespace tarvinel
