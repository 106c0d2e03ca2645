#include "app/capture/CaptureError.h"

#include <gtest/gtest.h>

namespace tarvinel {
namespace {

TEST(CaptureError, TextsTellThePresenterWhatToDo) {
  EXPECT_STREQ(CaptureError(CaptureError::Case::unknownSource).what(),
               "That source is no longer available. Pick another.");
  EXPECT_STREQ(CaptureError(CaptureError::Case::noPermission).what(),
               "Screen Recording permission is required. Allow Tarvinel in System Settings › "
               "Privacy & Security › Screen & System Audio Recording, then relaunch Tarvinel.");
}

}  // namespace
}  // namespace tarvinel
