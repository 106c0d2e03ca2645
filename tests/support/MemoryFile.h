#pragma once

#include "core/support/UniqueFd.h"

#include <cstddef>
#include <cstdint>
#include <vector>

namespace tarvinel::test {

/// A file in memory such as producers of pictures share.
class MemoryFile {
 public:
  explicit MemoryFile(const std::vector<std::uint8_t>& bytes);

  int descriptor() const { return file_.get(); }
  bool resize(std::size_t bytes);
  bool write(std::size_t offset, const std::vector<std::uint8_t>& bytes);

 private:
  UniqueFd file_;
};

}  // namespace tarvinel::test
