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
      return UploadRefusal::busy();
    case UploadController::Admission::noSpace:
      return {"507 Insufficient Storage", "not enough space on the Pro's disk"};
    case UploadController::Admission::admitted:
      break;
  }
  fatalError("an admitted upload is not refused");
}

UploadRefusal couldNotReserve(const UploadRequest& request, const std::exception_ptr& error,
                              const Logger& logger) {
  logger->error("reserve {}/{} failed: {}", request.label, request.filename, describe(error));
  return {UploadRefusal::internalError, "could not create the file"};
}

UploadRefusal couldNotOpen(const std::string& file, const std::exception_ptr& error,
                           const Logger& logger) {
  logger->error("open {} failed: {}", file, describe(error));
  return {UploadRefusal::internalError, "could not write the file"};
}

/// Opens the file of the first name that is free. A name that the store has reserved can be taken
/// all the same, by another program that uses the folder: then the next one is tried.
AdmissionOutcome openUpload(
    UploadSlot slot, const std::shared_ptr<UploadStore>& store, const UploadRequest& request,
    const Logger& logger,
    const std::function<std::shared_ptr<UploadSink>(const UploadStore::Reservation&)>& openSink) {
  for (int attempt = 1;;) {
    const auto reserved =
        resultOf([&] { return store->reserve(request.label, request.filename, attempt); });
    if (!reserved.ok()) return couldNotReserve(request, reserved.error(), logger);
    const UploadStore::Reservation& reservation = reserved.value();
    const auto sink = resultOf([&] { return openSink(reservation); });
    if (sink.ok() && sink.value()) {
      return std::make_shared<ActiveUpload>(std::move(slot), store, reservation, sink.value(),
                                            logger);
    }
    store->release(reservation);
    if (!sink.ok()) return couldNotOpen(reservation.partialName(), sink.error(), logger);
    attempt = reservation.attempt + 1;
  }
}

}  // namespace

AdmissionOutcome performAdmission(const std::shared_ptr<UploadController>& controller,
                                  const UploadRequest& request,
                                  const std::shared_ptr<const UploadPlace>& place,
                                  BlockingPool& pool, const std::function<void()>& onStall) {
  const auto admission = controller->admit(request.declaredBytes, place);
  if (admission != UploadController::Admission::admitted) return refusalFor(admission);
  UploadSlot slot(controller, request.declaredBytes, place);
  const Logger& logger = controller->logger();
  return openUpload(std::move(slot), controller->store(), request, logger,
                    [&](const UploadStore::Reservation& reservation) {
                      return UploadSink::open(pool, reservation, controller->limits().stall,
                                              onStall, logger);
                    });
}

}  // namespace tarvinel
