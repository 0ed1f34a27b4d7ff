// Iterators over the switch's tables.
//
// An iterator is true while it is at a row. It holds that row or a copy, so changes of the table do not
// affect * and ->. A table may change between two steps: rows come in key order, no row comes twice, and a
// row that exists during the whole iteration comes once.
//
// Thread-safety: creating and advancing an iterator are SDK calls (lock.h); *, -> and bool are not. One
// iterator must not be used by two threads at once.
#pragma once

#include <concepts>
#include <memory>
#include <utility>

#include "orv/lock.h"

namespace orv {

// The table's side of an iterator. It remembers its position by key, never by index.
template <typename T>
class iter_impl {
public:
   virtual ~iter_impl() = default;
   // Writes the next row to `row`.
   // RETURNS: false if no row is left; `row` is then unspecified.
   virtual bool next(T& row) = 0;
   // The same for a table that need not copy: returns the next row in place, or null. This object keeps that
   // row unchanged until its next step; a clone does the same for its own row.
   virtual const T* next_row(T& row) { return next(row) ? &row : nullptr; }
   // A copy that continues from the same position.
   [[nodiscard]] virtual std::unique_ptr<iter_impl<T>> clone() const = 0;
};

template <typename T, typename Impl>
class iter_base {
   static_assert(std::derived_from<Impl, iter_impl<T>>, "the implementation must yield the iterator's rows");

public:
   using value_type = T;
   using impl_type = Impl;

   // An iterator that is at its end.
   iter_base() = default;
   // Begins at the first row. A null implementation is an empty table.
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
   // The current row, valid until the next step.
   // REQUIRES: the iterator is true.
   const T& operator*() const noexcept { return lent_ != nullptr ? *lent_ : row_; }
   const T* operator->() const noexcept { return &**this; }

   // A no-op at the end.
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
   // The implementation's row, used in place of row_ if not null.
   const T* lent_ = nullptr;
};

}  // namespace orv
