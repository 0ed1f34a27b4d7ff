// Iterates over a table of any length without holding the SDK's lock for long.
//
// Thread-safety: called without the lock by any thread.
#pragma once

#include <cstddef>
#include <optional>
#include <utility>
#include <vector>

#include "orv/lock.h"

namespace softswitch::console {

// Rows read under one lock span: enough to amortize the lock, few enough to hold it for about a millisecond
// at most.
inline constexpr std::size_t rowsPerSpan = 1000;

// Under the lock, creates an iterator with `begin()` and copies each row with `take(*iterator)`. Passes the
// copies to `show` without the lock, so `show` may wait for a reader. `perSpan` rows are read under one lock
// span: fewer for rows that are long to copy.
template <typename Begin, typename Take, typename Show>
void forEachRow(Begin begin, Take take, Show show, std::size_t perSpan = rowsPerSpan) {
   using Iter = decltype(begin());
   using Row = decltype(take(*std::declval<const Iter&>()));

   // The iterator refers to the switch's tables: destroy it under the lock too, even if `show` throws.
   struct Walk {
      std::optional<Iter> iter;
      ~Walk() {
         const orv::sdk_scoped_lock lock;
         iter.reset();
      }
   } walk;

   std::vector<Row> rows;
   rows.reserve(perSpan);
   for (bool more = true; more;) {
      rows.clear();
      {
         const orv::sdk_scoped_lock lock;
         if (!walk.iter) walk.iter.emplace(begin());
         for (; *walk.iter && rows.size() < perSpan; ++*walk.iter)
            rows.push_back(take(**walk.iter));
         more = static_cast<bool>(*walk.iter);
      }
      for (const auto& row : rows)
         show(row);
   }
}

// Reads a value under the lock.
template <typename Read>
auto locked(Read read) {
   const orv::sdk_scoped_lock lock;
   return read();
}

}  // namespace softswitch::console
