// The one row of a table that has changed and is not in the store yet.
//
// A changed row is written when another row changes or when the lock span ends, whichever comes first. A row
// that changes several times in a span is therefore encoded once. The caller reserves room in the store
// before the change, so that the write cannot fail.
//
// Thread-safety: none of its own; guarded by the SDK's lock.
#pragma once

#include <algorithm>
#include <cstddef>
#include <functional>
#include <utility>

#include "softswitch/store/store.h"

namespace softswitch {

template <class Row>
class DeferredRow {
public:
   // Puts the row into the store or removes it. Must not throw.
   using Write = std::function<void(Row&)>;
   // RETURNS: the approximate size of the row in the store.
   using Size = std::function<std::size_t(const Row&)>;

   DeferredRow(store::Store& store, Write write, Size size)
        : store_(store), write_(std::move(write)), size_(std::move(size)) {
      registration_ = store_.beforeCommit([this] { flush(); });
   }
   // Ends the span.
   // REQUIRES: what `write` uses still exists.
   ~DeferredRow() {
      store_.commit();
      store_.forgetBeforeCommit(registration_);
   }
   DeferredRow(const DeferredRow&) = delete;
   DeferredRow& operator=(const DeferredRow&) = delete;

   // Reserves room for the next change, after which `row` takes about `bytes`; null for a row that does not
   // exist yet. `shrinks` as for a delete.
   // THROWS: StoreError (noSpace).
   //
   // A waiting row is written once, so a change that leaves it no larger than it was needs no more room. What
   // is removed and set again in one span therefore finds room on a full disk too, and can be put back.
   void reserve(const Row* row, std::size_t bytes, bool shrinks = false) {
      const auto pages = store_.pagesFor(bytes);
      if (row == nullptr || row != row_) {
         store_.reserve(bytes, shrinks);
         next_ = {.row = row, .pages = pages, .bytes = row == nullptr ? bytes : std::max(bytes, size_(*row))};
         return;
      }
      const bool grows = bytes > room_.bytes;
      if (!grows && pages <= room_.pages) return;
      store_.reserve(bytes, shrinks || !grows);
      room_ = {.row = row, .pages = std::max(pages, room_.pages), .bytes = std::max(bytes, room_.bytes)};
   }
   // REQUIRES: the row does not move until it is written or forgotten.
   void changed(Row& row) {
      if (row_ == &row) return;
      flush();
      row_ = &row;
      room_ = next_.row == &row ? next_ : Room{};
   }
   // Cancels the write of the row.
   void forget(const Row& row) {
      if (row_ == &row) row_ = nullptr;
   }
   // Writes the row now if it is the pending one.
   void flush(const Row& row) {
      if (row_ == &row) flush();
   }

private:
   // What is reserved for a row, and how large the row may become with it.
   struct Room {
      const Row* row = nullptr;
      std::size_t pages = 0;
      std::size_t bytes = 0;
   };

   void flush() {
      if (row_ != nullptr) write_(*std::exchange(row_, nullptr));
   }

   store::Store& store_;
   const Write write_;
   const Size size_;
   std::size_t registration_ = 0;
   Row* row_ = nullptr;
   Room room_;  // of the row that waits
   Room next_;  // of the row that is to change next
};

}  // namespace softswitch
