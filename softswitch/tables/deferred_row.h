// The one row of a table that has changed and is not in the store yet.
//
// A changed row is written when another row changes or when the lock span ends, whichever comes first. A row
// that changes several times in a span is therefore encoded once. The caller reserves room in the store
// before the change (Store::reserve), so that the write cannot fail.
//
// Thread-safety: none of its own; guarded by the SDK's lock.
#pragma once

#include <functional>
#include <utility>

#include "softswitch/store/store.h"

namespace softswitch {

template <class Row>
class DeferredRow {
public:
   // Puts the row into the store or removes it. Must not throw.
   using Write = std::function<void(Row&)>;

   DeferredRow(store::Store& store, Write write) : store_(store), write_(std::move(write)) {
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

   // REQUIRES: the row does not move until it is written or forgotten.
   void changed(Row& row) {
      if (row_ == &row) return;
      flush();
      row_ = &row;
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
   void flush() {
      if (row_ != nullptr) write_(*std::exchange(row_, nullptr));
   }

   store::Store& store_;
   const Write write_;
   std::size_t registration_ = 0;
   Row* row_ = nullptr;
};

}  // namespace softswitch
