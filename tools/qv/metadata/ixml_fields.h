// The fields of an "iXML" chunk: the texts of its elements, each under the path of their names.
#pragma once

#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace qv::tool {

struct IxmlFields {
  /// "SPEED/MASTER_SPEED" and its text in UTF-8; elements of one name give one pair each. The outermost element,
  /// BWFXML, is left out.
  std::vector<std::pair<std::string, std::string>> fields;
  std::string problem; ///< where reading ended early; empty where it did not
};

inline constexpr size_t kMaxIxmlFields = 4096;
inline constexpr size_t kMaxIxmlDepth = 32;
inline constexpr uint64_t kMaxIxmlBytes = 1 << 20;

/// Reads elements, texts with the five named and the numbered entities, and CDATA; attributes, comments and
/// declarations are passed over.
IxmlFields parse_ixml(std::string_view text);

} // namespace qv::tool
