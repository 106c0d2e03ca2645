#pragma once

#include "core/support/LineWriter.h"

#include <ostream>
#include <sstream>

namespace tarvinel {

/// An output stream whose text goes through a LineWriter whenever the stream is flushed, as
/// std::endl does. Writing to it never blocks. Used on one thread.
class LineStream : public std::ostream {
 public:
  /// Writes to where the descriptor leads; it stays the caller's and open.
  explicit LineStream(int fd);
  ~LineStream() override;
  LineStream(const LineStream&) = delete;
  LineStream& operator=(const LineStream&) = delete;

 private:
  class Buffer : public std::stringbuf {
   public:
    explicit Buffer(int fd);

   private:
    int sync() override;

    LineWriter writer_;
  };

  Buffer buffer_;
};

}  // namespace tarvinel
