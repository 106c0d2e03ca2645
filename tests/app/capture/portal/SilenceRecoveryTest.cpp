#include "app/capture/portal/PipeWireStream.h"

#include <gtest/gtest.h>

namespace tarvinel::portal {
namespace {

using Action = SilenceRecovery::Action;

TEST(SilenceRecovery, WithoutABufferThereIsNothingToPoll) {
  EXPECT_FALSE(SilenceRecovery().takePoll());
}

TEST(SilenceRecovery, EachBufferAllowsTwentyPolls) {
  SilenceRecovery recovery;
  recovery.bufferAdded();
  for (int i = 0; i < 20; ++i)
    EXPECT_TRUE(recovery.takePoll()) << i;
  EXPECT_FALSE(recovery.takePoll());
  recovery.bufferAdded();
  EXPECT_TRUE(recovery.takePoll());
}

TEST(SilenceRecovery, InTheFirstFormatBuffersAreSearched) {
  SilenceRecovery recovery;
  recovery.formatChanged();
  EXPECT_EQ(recovery.next(false), Action::search);
}

TEST(SilenceRecovery, InAnotherFormatTheStreamIsRestartedOnce) {
  SilenceRecovery recovery;
  recovery.pictureArrived();
  recovery.formatChanged();
  EXPECT_EQ(recovery.next(false), Action::restart);
  EXPECT_EQ(recovery.next(false), Action::search);
}

TEST(SilenceRecovery, APictureInTheNewFormatNeedsNoRestart) {
  SilenceRecovery recovery;
  recovery.pictureArrived();
  recovery.formatChanged();
  recovery.pictureArrived();
  EXPECT_EQ(recovery.next(false), Action::search);
}

TEST(SilenceRecovery, BuffersWithoutMemoryAreRenegotiatedFiveTimesUntilAPictureArrives) {
  SilenceRecovery recovery;
  for (int i = 0; i < 5; ++i)
    EXPECT_EQ(recovery.next(true), Action::renegotiate) << i;
  EXPECT_EQ(recovery.next(true), Action::giveUp);
  recovery.pictureArrived();
  EXPECT_EQ(recovery.next(true), Action::renegotiate);
}

}  // namespace
}  // namespace tarvinel::portal
