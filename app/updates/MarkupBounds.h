#pragma once

#include <cstddef>
#include <string_view>

namespace tarvinel {

/// What must be known of an XML document in UTF-8 before a parser that takes its time for it reads
/// it. Time grows with the document's size only. Static and pure.
class MarkupBounds {
 public:
  MarkupBounds() = delete;

  /// Whether a document type is declared before the first element.
  static bool declaresDocumentType(std::string_view document);

  /// As many attributes as the tag with the most of them has, or more.
  static std::size_t mostAttributes(std::string_view document);
};

}  // namespace tarvinel
