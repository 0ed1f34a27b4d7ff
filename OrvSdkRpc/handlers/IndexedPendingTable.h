// PendingTable for keys that have a small index, as the switch's interfaces do. Entries are stored by index,
// so nothing is hashed and a pass reads memory sequentially.
//
// Thread-safety: none of its own.
#pragma once

#include <algorithm>
#include <array>
#include <bit>
#include <concepts>
#include <cstddef>
#include <cstdint>
#include <list>
#include <optional>
#include <type_traits>
#include <utility>
#include <vector>

#include "OrvSdkRpc/handlers/PendingTable.h"
#include "platform/pavo/Allocator.h"

namespace OrvSdkRpc {

// A key with an index, counted from 0 and never reassigned. A key without an index has no_index and may get
// its index at any time.
template <class Key>
concept IndexedKey = requires(const Key& key) {
   { key.index() } -> std::convertible_to<std::size_t>;
   { Key::no_index } -> std::convertible_to<std::size_t>;
};

// Like PendingTable, but in index order; keys without an index come last. Entry is a plain value.
template <IndexedKey Key, class Entry>
class IndexedPendingTable {
   static_assert(std::is_trivially_copyable_v<Entry>, "entries are left behind and written over");

public:
   [[nodiscard]] std::size_t size() const { return size_ + others_.size(); }
   [[nodiscard]] bool empty() const { return size() == 0; }
   [[nodiscard]] std::optional<Key> resumeKey() const {
      return resume_ ? std::optional(rowAt(*resume_).key) : others_.resumeKey();
   }

   std::pair<Entry&, bool> emplace(const Key& key, const Entry& entry) {
      const std::size_t index = key.index();
      // A key that was added before it had an index stays in others_.
      if (index == Key::no_index || others_.contains(key)) return others_.emplace(key, entry);
      Page& page = pageOf(index);
      Row& row = page.rows[index % Page::size];
      const std::uint64_t bit = bitOf(index);
      if ((page.taken & bit) != 0) return {row.entry, false};
      page.taken |= bit;
      ++size_;
      if (!(row.key == key)) row.key = key;
      row.entry = entry;
      return {row.entry, true};
   }

   void erase(const Key& key) {
      const std::size_t index = key.index();
      if (!taken(index)) {
         others_.erase(key);
         return;
      }
      if (resume_ == index) {
         resumeAt(next(index + 1));
         // This pass stops at once, so that the next one begins at the first key without an index.
         if (!resume_) others_.pass([](const Key&, Entry&) { return false; });
      }
      eraseRange(index, index + 1);
   }

   template <class Visit>
   std::size_t pass(Visit&& visit) {
      bool more = true;
      const auto step = [&](const Key& key, Entry& entry) {
         more = visit(key, entry);
         return more;
      };
      std::size_t visited = 0;
      if (!others_.resumeKey()) visited = passIndexed(step);
      if (more) visited += others_.pass(step);
      return visited;
   }

   void clear() { *this = IndexedPendingTable(); }

private:
   struct Row {
      // Key of the last entry in this row; no other key ever uses the row.
      Key key{};
      Entry entry{};
   };
   struct Page {
      static constexpr std::size_t size = 64;
      // One bit per row.
      std::uint64_t taken = 0;
      std::array<Row, size> rows;
   };

   [[nodiscard]] static std::uint64_t bitOf(std::size_t index) {
      return std::uint64_t{1} << (index % Page::size);
   }
   [[nodiscard]] bool taken(std::size_t index) const {
      const std::size_t page = index / Page::size;
      return page < directory_.size() && directory_[page] != nullptr &&
             (directory_[page]->taken & bitOf(index)) != 0;
   }
   [[nodiscard]] Row& rowAt(std::size_t index) const {
      return directory_[index / Page::size]->rows[index % Page::size];
   }
   [[nodiscard]] std::size_t end() const { return directory_.size() * Page::size; }

   Page& pageOf(std::size_t index) {
      const std::size_t at = index / Page::size;
      if (at >= directory_.size()) directory_.resize(at + 1);
      if (directory_[at] == nullptr) directory_[at] = &pages_.emplace_back();
      return *directory_[at];
   }

   // The first entry at or after `index`, or end().
   [[nodiscard]] std::size_t next(std::size_t index) const {
      std::uint64_t mask = ~std::uint64_t{0} << (index % Page::size);
      for (std::size_t at = index / Page::size; at < directory_.size(); ++at) {
         const std::uint64_t found = directory_[at] == nullptr ? 0 : directory_[at]->taken & mask;
         if (found != 0) return at * Page::size + static_cast<std::size_t>(std::countr_zero(found));
         mask = ~std::uint64_t{0};
      }
      return end();
   }

   template <class Step>
   std::size_t passIndexed(const Step& step) {
      most_ = std::max(most_, size_);
      const std::size_t first = resume_.value_or(0);
      std::size_t visited = 0;
      std::size_t at = next(first);
      for (; at < end(); at = next(at + 1)) {
         Row& row = rowAt(at);
         if (!step(std::as_const(row.key), row.entry)) break;
         ++visited;
      }
      resumeAt(at);
      eraseRange(first, at);
      return visited;
   }

   void resumeAt(std::size_t at) { resume_ = at < end() ? std::optional(at) : std::nullopt; }

   void eraseRange(std::size_t first, std::size_t last) {
      while (first < last) {
         const std::size_t count = std::min(last - first, Page::size - first % Page::size);
         if (Page* const page = directory_[first / Page::size]) {
            const std::uint64_t gone =
                 page->taken & (~std::uint64_t{0} >> (Page::size - count) << (first % Page::size));
            page->taken &= ~gone;
            size_ -= static_cast<std::size_t>(std::popcount(gone));
         }
         first += count;
      }
      if (size_ == 0) trim();
   }
   // As in PendingTable: frees the memory if there is little of it or if the last fill needed less than half
   // of it.
   void trim() {
      if (most_ < Page::size || pages_.size() * Page::size > 2 * most_) {
         directory_ = {};
         pages_.clear();
      }
      most_ = 0;
   }

   // Null for a page that was never used.
   std::vector<Page*> directory_;
   std::list<Page, Pavo::Allocator<Page>> pages_;
   std::size_t size_ = 0;
   // The largest size that a pass has seen since the pages were last empty.
   std::size_t most_ = 0;
   // Index of the entry at which the next pass begins, if that entry has an index.
   std::optional<std::size_t> resume_;
   // Keys without an index.
   PendingTable<Key, Entry> others_;
};

// The type of table for a key and its entry.
template <class Key, class Entry>
struct PendingTableFor {
   using Type = PendingTable<Key, Entry>;
};
template <IndexedKey Key, class Entry>
requires std::is_trivially_copyable_v<Entry>
struct PendingTableFor<Key, Entry> {
   using Type = IndexedPendingTable<Key, Entry>;
};

}  // namespace OrvSdkRpc
