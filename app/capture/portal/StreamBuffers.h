#pragma once

#include "app/capture/portal/VideoFormat.h"

#include <vector>

struct pw_buffer;

namespace tarvinel::portal {

/// All buffers of a stream, wherever they are on their way between producer and here. Borrows them.
class StreamBuffers {
 public:
  void add(const pw_buffer& buffer) { buffers_.push_back(&buffer); }
  void remove(const pw_buffer& buffer) { std::erase(buffers_, &buffer); }

  /// Whether there are some, and none of them has memory for a picture.
  bool lackMemory() const;

  /// The one into which the newest picture was put, told of or not. Null when that is not clear:
  /// some producers describe a picture in each buffer, long before it is there.
  const pw_buffer* newest(const VideoFormat& format) const;

 private:
  std::vector<const pw_buffer*> buffers_;
};

}  // namespace tarvinel::portal
