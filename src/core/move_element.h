#pragma once
#include <algorithm>
#include <cstddef>
#include <vector>

namespace vemko {

/// Moves an element of a list that the user orders; `to` is clamped to the last index. Nothing happens when
/// `from` lies outside the list.
template <class T>
void moveElement(std::vector<T>& list, std::size_t from, std::size_t to) {
  if (from >= list.size()) return;
  to = std::min(to, list.size() - 1);
  auto at = [&](std::size_t index) { return list.begin() + static_cast<std::ptrdiff_t>(index); };
  if (from < to) std::rotate(at(from), at(from + 1), at(to + 1));
  if (to < from) std::rotate(at(to), at(from), at(from + 1));
}

}  // namespace vemko
