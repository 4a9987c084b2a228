// Tables whose rows have a name on the command line, as their member `name`.
#pragma once

#include <algorithm>
#include <iterator>
#include <string>
#include <vector>

namespace qv::tool {

/// The names in order, as the command line's check wants them.
template <class Rows>
std::vector<std::string> names_of(const Rows& rows) {
  std::vector<std::string> names;
  for (const auto& row : rows)
    names.emplace_back(row.name);
  return names;
}

/// The row of a name that has been checked.
template <class Rows>
const auto& row_of(const Rows& rows, const std::string& name) {
  return *std::find_if(
      std::begin(rows), std::end(rows), [&](const auto& row) { return row.name == name; });
}

} // namespace qv::tool
