// Order of values that hold unordered sets.
//
// Thread-safety: pure functions.
#pragma once

#include <algorithm>
#include <compare>
#include <vector>

namespace orv::detail {

// Orders by size, then by the elements in ascending order. The order of insertion does not matter; equal sets
// compare equal.
template <typename Set>
std::strong_ordering order_sets(const Set& a, const Set& b) {
   if (const auto by_size = a.size() <=> b.size(); by_size != 0) return by_size;
   if (a.empty()) return std::strong_ordering::equal;
   if (a.size() == 1) return *a.begin() <=> *b.begin();
   using element = const typename Set::value_type*;
   const auto rising = [](const Set& set) {
      std::vector<element> out;
      out.reserve(set.size());
      for (const auto& item : set)
         out.push_back(&item);
      std::sort(out.begin(), out.end(), [](element x, element y) { return *x < *y; });
      return out;
   };
   const auto mine = rising(a);
   const auto theirs = rising(b);
   return std::lexicographical_compare_three_way(mine.begin(), mine.end(), theirs.begin(), theirs.end(),
                                                 [](element x, element y) { return *x <=> *y; });
}

}  // namespace orv::detail
