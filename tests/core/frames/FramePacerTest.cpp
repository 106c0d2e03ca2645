#include "core/frames/FramePacer.h"

#include <gtest/gtest.h>

#include <optional>

namespace tarvinel {
namespace {

using Action = FramePacer::Action;
using Change = FramePacer::Change;

FramePacer pacer(std::int64_t motionFPS = 8) {
  return {motionFPS, 0.5, 2};
}

TEST(FramePacer, ClassifiesChanges) {
  EXPECT_EQ(FramePacer::change(std::nullopt, false), Change::major);
  EXPECT_EQ(FramePacer::change(0.0, false), Change::minor);
  EXPECT_EQ(FramePacer::change(0.00499, false), Change::minor);
  EXPECT_EQ(FramePacer::change(0.005, false), Change::major);
  EXPECT_EQ(FramePacer::change(1.0, false), Change::major);
  EXPECT_EQ(FramePacer::change(0.9, true), Change::none);
  EXPECT_EQ(FramePacer::change(std::nullopt, true), Change::none);
}

TEST(FramePacer, RatesAreAtLeastOne) {
  EXPECT_EQ(FramePacer(0, 0.5, 2).motionFPS(), 1);
  FramePacer changed = pacer();
  changed.setMotionFPS(-3);
  EXPECT_EQ(changed.motionFPS(), 1);
  changed.setMotionFPS(15);
  EXPECT_EQ(changed.motionFPS(), 15);
  EXPECT_EQ(FramePacer(8, 0.5, 0), FramePacer(8, 0.5, 1));
}

TEST(FramePacer, FirstChangeIsSent) {
  EXPECT_EQ(pacer().frame(Change::major, 0.0), Action::sendMotion);
  EXPECT_EQ(pacer().frame(Change::minor, 0.0), Action::sendMotion);
}

TEST(FramePacer, MajorChangesPassAtTheMotionRateWithHalfAMillisecondOfSlack) {
  FramePacer eight = pacer(8);
  EXPECT_EQ(eight.frame(Change::major, 0.0), Action::sendMotion);
  EXPECT_EQ(eight.frame(Change::major, 0.1), Action::skip);
  EXPECT_EQ(eight.frame(Change::major, 0.1244), Action::skip);
  EXPECT_EQ(eight.frame(Change::major, 0.1246), Action::sendMotion);
  EXPECT_EQ(eight.frame(Change::major, 0.2), Action::skip);
}

TEST(FramePacer, MinorChangesPassAtTheMinorRate) {
  FramePacer eight = pacer(8);
  EXPECT_EQ(eight.frame(Change::minor, 0.0), Action::sendMotion);
  EXPECT_EQ(eight.frame(Change::minor, 0.25), Action::skip);
  EXPECT_EQ(eight.frame(Change::minor, 0.4994), Action::skip);
  EXPECT_EQ(eight.frame(Change::minor, 0.4995), Action::sendMotion);
}

TEST(FramePacer, MinorChangesNeverPassFasterThanMajorOnes) {
  FramePacer one = pacer(1);
  EXPECT_EQ(one.frame(Change::minor, 0.0), Action::sendMotion);
  EXPECT_EQ(one.frame(Change::minor, 0.6), Action::skip);
  EXPECT_EQ(one.frame(Change::minor, 0.9996), Action::sendMotion);
}

TEST(FramePacer, ANewRateAppliesToTheNextFrame) {
  FramePacer changed = pacer(1);
  EXPECT_EQ(changed.frame(Change::major, 0.0), Action::sendMotion);
  changed.setMotionFPS(20);
  EXPECT_EQ(changed.frame(Change::major, 0.05), Action::sendMotion);
}

TEST(FramePacer, OneCrispFrameFollowsWhenTheScreenHasSettled) {
  FramePacer settling = pacer();
  settling.frame(Change::major, 1.0);
  EXPECT_TRUE(settling.crispDue());
  for (const double at : {1.1, 1.2, 1.3, 1.4})
    EXPECT_EQ(settling.tick(at), Action::skip);
  EXPECT_EQ(settling.tick(1.5), Action::sendCrisp);
  EXPECT_FALSE(settling.crispDue());
  for (const double at : {1.6, 2.0, 100.0})
    EXPECT_EQ(settling.tick(at), Action::skip);
  settling.frame(Change::minor, 200.0);
  EXPECT_EQ(settling.tick(200.5), Action::sendCrisp);
}

TEST(FramePacer, QuietPacerSkipsTicks) {
  FramePacer quiet = pacer();
  EXPECT_EQ(quiet.tick(5.0), Action::skip);
  EXPECT_EQ(quiet.frame(Change::none, 5.0), Action::skip);
  EXPECT_EQ(quiet, pacer());
}

TEST(FramePacer, AnIdleFrameIsATick) {
  FramePacer settling = pacer();
  settling.frame(Change::major, 1.0);
  EXPECT_EQ(settling.frame(Change::none, 1.25), Action::skip);
  EXPECT_EQ(settling.frame(Change::none, 1.5), Action::sendCrisp);
  EXPECT_EQ(settling.frame(Change::none, 1.75), Action::skip);
}

TEST(FramePacer, ASkippedChangePostponesTheCrispFrameAndEarnsOne) {
  FramePacer settling = pacer();
  settling.frame(Change::major, 1.0);
  EXPECT_EQ(settling.frame(Change::major, 1.0625), Action::skip);
  EXPECT_EQ(settling.tick(1.5), Action::skip);
  EXPECT_EQ(settling.tick(1.5625), Action::sendCrisp);
  EXPECT_EQ(settling.frame(Change::major, 1.575), Action::skip);
  EXPECT_EQ(settling.tick(2.125), Action::sendCrisp);
}

TEST(FramePacer, ACrispFrameHoldsBackTheNextMotionFrame) {
  FramePacer settling = pacer(8);
  settling.frame(Change::major, 1.0);
  EXPECT_EQ(settling.tick(1.5), Action::sendCrisp);
  EXPECT_EQ(settling.frame(Change::major, 1.6), Action::skip);
  EXPECT_EQ(settling.frame(Change::major, 1.625), Action::sendMotion);
}

TEST(FramePacer, EqualityComparesEveryField) {
  EXPECT_EQ(FramePacer(8, 0.5, 2), FramePacer(8, 0.5, 2));
  EXPECT_NE(FramePacer(8, 0.5, 2), FramePacer(9, 0.5, 2));
  EXPECT_NE(FramePacer(8, 0.5, 2), FramePacer(8, 0.6, 2));
  EXPECT_NE(FramePacer(8, 0.5, 2), FramePacer(8, 0.5, 3));
  FramePacer changed = pacer();
  changed.frame(Change::major, 1.0);
  EXPECT_NE(changed, pacer());
  FramePacer later = pacer();
  later.frame(Change::major, 2.0);
  EXPECT_NE(changed, later);
}

}  // namespace
}  // namespace tarvinel
