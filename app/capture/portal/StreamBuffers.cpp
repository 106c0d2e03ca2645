#include "app/capture/portal/StreamBuffers.h"

#include "app/capture/portal/StreamBuffer.h"

#include <algorithm>
#include <iterator>

namespace tarvinel {

bool StreamBuffers::lackMemory() const {
  return !buffers_.empty() &&
         std::none_of(buffers_.begin(), buffers_.end(),
                      [](const pw_buffer* b) { return StreamBuffer(*b).hasMemory(); });
}

const pw_buffer* StreamBuffers::newest(const VideoFormat& format) const {
  std::vector<const pw_buffer*> filled;
  std::copy_if(buffers_.begin(), buffers_.end(), std::back_inserter(filled),
               [&](const pw_buffer* buffer) { return StreamBuffer(*buffer).picture(format); });
  std::sort(filled.begin(), filled.end(), [](const pw_buffer* a, const pw_buffer* b) {
    return StreamBuffer(*a).time() > StreamBuffer(*b).time();
  });
  const bool isClear =
      filled.size() == 1 ||
      (filled.size() > 1 && StreamBuffer(*filled[0]).time() > StreamBuffer(*filled[1]).time());
  return isClear ? filled.front() : nullptr;
}

}  // namespace tarvinel
