#include "app/capture/portal/StreamBuffers.h"

#include "app/capture/portal/StreamBuffer.h"

#include <algorithm>

namespace tarvinel::portal {

bool StreamBuffers::lackMemory() const {
  return !buffers_.empty() &&
         std::none_of(buffers_.begin(), buffers_.end(),
                      [](const pw_buffer* b) { return StreamBuffer(*b).hasMemory(); });
}

/// Producers may change what they tell at any time: it is read once.
const pw_buffer* StreamBuffers::newest(const VideoFormat& format) const {
  const pw_buffer* newest = nullptr;
  StreamBuffer::Time latest;
  bool isClear = false;
  for (const pw_buffer* buffer : buffers_) {
    const StreamBuffer given(*buffer);
    const auto time = given.time();
    if (!time || !given.picture(format)) continue;
    if (newest != nullptr && *time == latest) isClear = false;
    if (newest != nullptr && *time <= latest) continue;
    newest = buffer;
    latest = *time;
    isClear = true;
  }
  return isClear ? newest : nullptr;
}

}  // namespace tarvinel::portal
