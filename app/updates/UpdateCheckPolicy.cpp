#include "app/updates/UpdateCheckPolicy.h"

#include "app/updates/UpdateController.h"

namespace tarvinel {

UpdateCheckPolicy::Kind UpdateCheckPolicy::kindOf(int check) {
  switch (check) {
    case UpdateController::scheduled:
      return Kind::scheduled;
    case UpdateController::probe:
      return Kind::probe;
    default:
      return Kind::userInitiated;
  }
}

bool UpdateCheckPolicy::allows(Kind kind, bool sharing) {
  return kind != Kind::scheduled || !sharing;
}

}  // namespace tarvinel
