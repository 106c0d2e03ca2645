#include "core/http/UploadAdmission.h"

#include "core/support/FatalError.h"
#include "core/support/Result.h"
#include "core/uploads/UploadSlot.h"

#include <utility>

namespace tarvinel {

namespace {

UploadRefusal refusalFor(UploadController::Admission admission) {
  switch (admission) {
    case UploadController::Admission::disabled:
      return {"403 Forbidden", "Uploads are closed right now, ask your Pro to open them"};
    case UploadController::Admission::busy:
      return {"503 Service Unavailable", "busy, retry in a few seconds"};
    case UploadController::Admission::noSpace:
      return {"507 Insufficient Storage", "not enough space on the Pro's disk"};
    case UploadController::Admission::admitted:
      break;
  }
  fatalError("an admitted upload is not refused");
}

}  // namespace

AdmissionOutcome performAdmission(const std::shared_ptr<UploadController>& controller,
                                  const UploadRequest& request, BlockingPool& pool,
                                  std::function<void()> onStall) {
  const auto admission = controller->admit(request.declaredBytes);
  if (admission != UploadController::Admission::admitted) return refusalFor(admission);
  UploadSlot slot(controller, request.declaredBytes);
  const Logger& logger = controller->logger();
  const auto store = controller->store();

  const auto reservation =
      resultOf([&] { return store->reserve(request.label, request.filename); });
  if (!reservation.ok()) {
    logger->error("reserve {}/{} failed: {}", request.label, request.filename,
                  describe(reservation.error()));
    return UploadRefusal{UploadRefusal::internalError, "could not create the file"};
  }
  const auto sink = resultOf([&] {
    return UploadSink::open(pool, reservation.value(), controller->limits().stall,
                            std::move(onStall), logger);
  });
  if (!sink.ok()) {
    logger->error("open {} failed: {}", reservation.value().partialName(), describe(sink.error()));
    store->abort(reservation.value());
    return UploadRefusal{UploadRefusal::internalError, "could not write the file"};
  }
  return std::make_shared<ActiveUpload>(std::move(slot), store, reservation.value(), sink.value(),
                                        logger);
}

}  // namespace tarvinel
