#include "core/http/MJPEGFramer.h"

namespace tarvinel {

std::string MJPEGFramer::partHead(std::size_t bodyLength, std::string_view contentType) {
  return std::string(partOpening)
      .append("\r\nContent-Type: ")
      .append(contentType)
      .append("\r\nContent-Length: ")
      .append(std::to_string(bodyLength))
      .append("\r\n\r\n");
}

Bytes MJPEGFramer::part(const Bytes& jpeg) {
  const std::string head = partHead(jpeg.size());
  Bytes bytes;
  bytes.reserve(head.size() + jpeg.size() + partEnd.size());
  bytes.insert(bytes.end(), head.begin(), head.end());
  bytes.insert(bytes.end(), jpeg.begin(), jpeg.end());
  bytes.insert(bytes.end(), partEnd.begin(), partEnd.end());
  return bytes;
}

}  // namespace tarvinel
