// Iterators over the switch's tables.
//
// An iterator is true while it stands on a row and holds that row or a copy of it,
// so what * and -> answer stays as it is whatever happens to the table. A table may
// change between two steps: no row comes twice, a row that is there for the whole
// walk comes once, and rows come in key order.
//
// Thread-safety: making and stepping an iterator are calls of the SDK (lock.h);
// *, -> and bool are not. One iterator must not be used by two threads at once.
#pragma once

#include <concepts>
#include <memory>
#include <utility>

#include "orv/lock.h"

namespace orv {

// The table's side of an iterator. It remembers where the walk stands by key and
// never by position.
template <typename T>
class iter_impl {
public:
   virtual ~iter_impl() = default;
   // Writes the next row to `row`; false, with `row` in any state, when none is left.
   virtual bool next(T& row) = 0;
   // The same for a table that need not copy: answers the next row where it is, or null. This object keeps it
   // there, unchanged, until its next step, and a clone does so for itself.
   virtual const T* next_row(T& row) { return next(row) ? &row : nullptr; }
   // A copy that continues from the same place.
   [[nodiscard]] virtual std::unique_ptr<iter_impl<T>> clone() const = 0;
};

template <typename T, typename Impl>
class iter_base {
   static_assert(std::derived_from<Impl, iter_impl<T>>, "the implementation must yield the iterator's rows");

public:
   using value_type = T;
   using impl_type = Impl;

   // At its end from the start.
   iter_base() = default;
   // Stands on the first row. A null implementation is an empty table.
   explicit iter_base(std::unique_ptr<Impl> impl) : impl_(std::move(impl)) { step(); }

   iter_base(const iter_base& other)
        : impl_(other.impl_ ? other.impl_->clone() : nullptr), row_(other.row_), lent_(other.lent_) {}
   iter_base(iter_base&& other) noexcept
        : impl_(std::move(other.impl_)), row_(std::move(other.row_)), lent_(other.lent_) {}
   iter_base& operator=(iter_base other) noexcept {
      std::swap(impl_, other.impl_);
      std::swap(row_, other.row_);
      std::swap(lent_, other.lent_);
      return *this;
   }
   ~iter_base() = default;

   explicit operator bool() const noexcept { return impl_ != nullptr; }
   // Only on an iterator that is true. Valid until the next step.
   const T& operator*() const noexcept { return lent_ != nullptr ? *lent_ : row_; }
   const T* operator->() const noexcept { return &**this; }

   // At the end of the walk nothing happens.
   iter_base& operator++() {
      sdk_lock_check();
      step();
      return *this;
   }

private:
   void step() {
      if (!impl_) return;
      const T* const row = impl_->next_row(row_);
      lent_ = row == &row_ ? nullptr : row;
      if (row == nullptr) impl_.reset();
   }

   std::unique_ptr<iter_impl<T>> impl_;
   T row_{};
   // The implementation's, in place of row_.
   const T* lent_ = nullptr;
};

}  // namespace orv
