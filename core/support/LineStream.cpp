#include "core/support/LineStream.h"

#include "core/support/NonBlockingOutput.h"

#include <string>

namespace tarvinel {

LineStream::LineStream(int fd) : std::ostream(nullptr), buffer_(fd) {
  rdbuf(&buffer_);
}

LineStream::~LineStream() {
  flush();
}

LineStream::Buffer::Buffer(int fd)
    : writer_([fd] { return nonBlockingOutput(fd); },
              [](const std::string& sentence) { return "(" + sentence + ")\n"; }) {}

int LineStream::Buffer::sync() {
  if (!view().empty()) writer_.write(str());
  str({});
  return 0;
}

}  // namespace tarvinel
