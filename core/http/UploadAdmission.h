#pragma once

#include "core/http/UploadRequest.h"
#include "core/support/BlockingPool.h"
#include "core/uploads/ActiveUpload.h"
#include "core/uploads/UploadController.h"

#include <functional>
#include <memory>
#include <variant>

namespace tarvinel {

/// An upload whose file is open, or why there is none.
using AdmissionOutcome = std::variant<std::shared_ptr<ActiveUpload>, UploadRefusal>;

/// Asks the gate, reserves a name and opens the file. Blocks as long as the disk does: runs on the
/// queue ".upload-admission". `onStall` is called at most once, on the queue of the upload's sink.
AdmissionOutcome performAdmission(const std::shared_ptr<UploadController>& controller,
                                  const UploadRequest& request,
                                  const std::shared_ptr<const UploadPlace>& place,
                                  BlockingPool& pool, const std::function<void()>& onStall);

}  // namespace tarvinel
