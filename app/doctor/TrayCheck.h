#pragma once

#include "app/doctor/BusInquiry.h"
#include "app/doctor/Finding.h"
#include "app/doctor/SessionCheck.h"

namespace tarvinel {

/// Where the program's icon would be.
struct TrayFacts {
  SessionFacts session = {};
  BusInquiry::State bus = BusInquiry::State::answers;  ///< the session's
  bool hasNotifierHost = false;                        ///< a panel shows status notifier items
  bool hasEmbeddingTray = false;                       ///< the X display has a tray for windows

  /// Looks. Blocks for some seconds at the most.
  static TrayFacts of(const SessionFacts& session);
};

/// Whether the program would be in a tray or in a window. Pure.
Findings judge(const TrayFacts& facts);

/// What there is to say of a build for the terminal only.
Findings withoutTray();

}  // namespace tarvinel
