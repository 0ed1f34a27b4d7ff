// A table of configured objects: in memory in key order, written through to the store.
//
//    struct VrfCodec {
//       static constexpr std::uint8_t version = 1;  // of the row, raised when it changes
//       static void encodeKey(const std::string& key, store::Writer& out);
//       static std::string decodeKey(store::Reader& in);
//       static void encodeRow(const VrfRow& row, store::Writer& out);
//       static VrfRow decodeRow(store::Reader& in, std::uint8_t version);  // of any version so far
//    };
//    Table<std::string, VrfRow, VrfCodec> vrfs(store, "vrf", limits.vrfs);
//
// The call that sets a row writes it; a call that throws has changed neither memory nor store. All calls
// under one outermost lock are one transaction of the store (store.h).
//
// Resync marks live in memory only. Between resyncInit() and resyncComplete() every set() marks its row as
// still wanted, even if it changes nothing; resyncComplete() removes the other rows.
//
// Thread-safety: none of its own; guarded by the SDK's lock.
#pragma once

#include <absl/container/btree_map.h>

#include <concepts>
#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <utility>

#include "orv/iter.h"
#include "softswitch/store/codec.h"
#include "softswitch/store/store.h"
#include "softswitch/tables/refusal.h"

namespace softswitch {

enum class Change { none, inserted, replaced };

template <class Key, class Row, class Codec, class Less = std::less<Key>>
class Table {
   struct Slot {
      Row row;
      std::uint32_t mark;
   };

public:
   using key_type = Key;
   using row_type = Row;

   // A position in the table. The pointers are valid until the table's next change.
   struct Item {
      const Key* key = nullptr;
      const Row* row = nullptr;
      explicit operator bool() const { return key != nullptr; }
   };

   // Reads the rows in the store. `name` is the table's name in the store and in error texts.
   // THROWS: store::StoreError (damaged for a row that does not decode, newerFormat).
   Table(store::Store& store, std::string_view name, std::size_t capacity)
        : store_(store), name_(name), capacity_(capacity), database_(store.open(name)) {
      store_.scan(database_, [this](std::string_view key, std::string_view row) { load(key, row); });
   }
   Table(const Table&) = delete;
   Table& operator=(const Table&) = delete;

   std::size_t size() const { return rows_.size(); }
   bool empty() const { return rows_.empty(); }
   std::size_t capacity() const { return capacity_; }
   const std::string& name() const { return name_; }

   bool contains(const Key& key) const { return rows_.find(key) != rows_.end(); }
   // RETURNS: null if no such row exists. The pointer is valid until the table's next change.
   const Row* find(const Key& key) const {
      const auto it = rows_.find(key);
      return it == rows_.end() ? nullptr : &it->second.row;
   }

   // RETURNS: the first row at or after `key`, or an empty Item.
   Item atOrAfter(const Key& key) const {
      const auto it = rows_.lower_bound(key);
      return it == rows_.end() ? Item{} : Item{&it->first, &it->second.row};
   }

   // On a full disk a row can still be replaced by one that is no larger.
   // THROWS: orv::error if the table or the disk is full, orv::invalid_argument_error if the key is too long.
   Change set(const Key& key, Row row) {
      const auto it = rows_.find(key);
      if (it != rows_.end()) {
         if constexpr (std::equality_comparable<Row>) {
            if (it->second.row == row) {
               // Assigned even so: a row may have parts that operator== ignores.
               it->second = Slot{std::move(row), epoch_};
               return Change::none;
            }
         }
         write(key, row, &it->second.row);
         it->second = Slot{std::move(row), epoch_};
         return Change::replaced;
      }
      if (rows_.size() >= capacity_) refuseFull(name_, capacity_);
      write(key, row, nullptr);
      rows_.emplace(key, Slot{std::move(row), epoch_});
      ++generation_;
      return Change::inserted;
   }

   // RETURNS: false if no such row exists.
   // THROWS: orv::error if the disk is full.
   bool erase(const Key& key) {
      const auto it = rows_.find(key);
      if (it == rows_.end()) return false;
      remove(key);
      rows_.erase(it);
      ++generation_;
      return true;
   }

   // For an operation that erases several rows, of this table or of others in the store, as a whole or not at
   // all.
   // THROWS: orv::error if the disk is too full for `rows` removals.
   void requireRoomToErase(std::size_t rows) {
      try {
         store_.requireRoom(rows, 0, true);
      } catch (const store::StoreError& e) {
         refuse(e);
      }
   }

   // Removes all rows in one transaction.
   void clear() {
      try {
         store_.clear(database_);
      } catch (const store::StoreError& e) {
         refuse(e);
      }
      rows_.clear();
      ++generation_;
   }

   void resyncInit() {
      ++epoch_;
      resyncing_ = true;
   }
   bool resyncing() const { return resyncing_; }
   // The number of resyncs so far; set() marks a row with it.
   std::uint32_t epoch() const { return epoch_; }

   // Removes every row that was not set since resyncInit(), in key order; a no-op without one. Calls
   // `removed(key, row)` after each removal. Many rows are removed in several transactions.
   template <class Removed>
   void resyncComplete(Removed&& removed) {
      if (!resyncing_) return;
      resyncing_ = false;
      for (auto it = rows_.begin(); it != rows_.end();) {
         if (it->second.mark == epoch_) {
            ++it;
            continue;
         }
         store_.commitIfLarge();
         remove(it->first);
         const Key key = it->first;
         const Row row = std::move(it->second.row);
         it = rows_.erase(it);
         const auto generation = ++generation_;
         removed(key, row);
         if (generation != generation_) it = rows_.upper_bound(key);
      }
   }

   // Iterates in key order; the table may change between steps. No row comes twice, and each row that exists
   // all the time comes once.
   class Cursor {
   public:
      explicit Cursor(const Table& table) : table_(&table) {}

      // RETURNS: an empty Item at the end, and from then on.
      Item next() {
         const auto& rows = table_->rows_;
         if (ended_) return {};
         if (!key_) {
            at_ = rows.begin();
         } else if (generation_ == table_->generation_) {
            ++at_;
         } else {
            at_ = rows.upper_bound(*key_);
         }
         if (at_ == rows.end()) {
            ended_ = true;
            return {};
         }
         key_ = at_->first;
         generation_ = table_->generation_;
         return {&at_->first, &at_->second.row};
      }

   private:
      const Table* table_;
      typename absl::btree_map<Key, Slot, Less>::const_iterator at_{};
      std::optional<Key> key_;
      std::uint64_t generation_ = 0;
      bool ended_ = false;
   };

   // RETURNS: the first row at or after `key`, and the first row after `key`.
   Item lowerBound(const Key& key) const { return itemAt(rows_.lower_bound(key)); }
   Item upperBound(const Key& key) const { return itemAt(rows_.upper_bound(key)); }

   // For a plain loop that does not change the table.
   template <class Visit>
   void forEach(Visit&& visit) const {
      for (const auto& [key, slot] : rows_)
         visit(key, slot.row);
   }

private:
   template <class Position>
   Item itemAt(Position at) const {
      return at == rows_.end() ? Item{} : Item{&at->first, &at->second.row};
   }

   void load(std::string_view keyBytes, std::string_view rowBytes) {
      store::Reader key(keyBytes);
      store::Reader row(rowBytes);
      const auto version = row.u8();
      if (version == 0 || version > Codec::version) {
         throw store::StoreError(
              store::Trouble::newerFormat,
              fmt::format("{}: table '{}' has a row of version {}, this release reads up to {}",
                          store_.path().string(), name_, version, Codec::version));
      }
      auto k = Codec::decodeKey(key);
      key.end();
      auto r = Codec::decodeRow(row, version);
      row.end();
      rows_.emplace_hint(rows_.end(), std::move(k), Slot{std::move(r), epoch_});
   }

   // `former` is the row that is replaced, null for none.
   void write(const Key& key, const Row& row, const Row* former) {
      keyBytes_.clear();
      store::Writer keyOut(keyBytes_);
      Codec::encodeKey(key, keyOut);
      encodeRow(row, rowBytes_);
      try {
         store_.put(database_, keyBytes_, rowBytes_);
      } catch (const store::StoreError& e) {
         if (e.trouble() != store::Trouble::noSpace || former == nullptr) refuse(e);
         writeSmaller(*former);
      }
   }

   // What rowBytes_ has, where the disk is full.
   void writeSmaller(const Row& former) {
      std::string formerBytes;
      encodeRow(former, formerBytes);
      try {
         store_.put(database_, keyBytes_, rowBytes_, rowBytes_.size() <= formerBytes.size());
      } catch (const store::StoreError& e) {
         refuse(e);
      }
   }

   static void encodeRow(const Row& row, std::string& bytes) {
      bytes.clear();
      store::Writer out(bytes);
      out.u8(Codec::version);
      Codec::encodeRow(row, out);
   }

   void remove(const Key& key) {
      keyBytes_.clear();
      store::Writer out(keyBytes_);
      Codec::encodeKey(key, out);
      try {
         store_.del(database_, keyBytes_);
      } catch (const store::StoreError& e) {
         refuse(e);
      }
   }

   store::Store& store_;
   const std::string name_;
   const std::size_t capacity_;
   const store::Store::Database database_;
   absl::btree_map<Key, Slot, Less> rows_;
   std::uint64_t generation_ = 0;  // counts insertions and removals
   std::uint32_t epoch_ = 0;
   bool resyncing_ = false;
   std::string keyBytes_;  // reused buffers
   std::string rowBytes_;
};

// An SDK iterator over a table. `Make` turns an Item into an optional value, empty to skip the row.
template <class Iter, class TableType, class Make>
class TableIter final : public Iter::impl_type {
public:
   using Value = typename Iter::value_type;

   TableIter(const TableType& table, Make make) : cursor_(table), make_(std::move(make)) {}

   bool next(Value& row) override {
      while (const auto item = cursor_.next()) {
         std::optional<Value> made = make_(item);
         if (!made) continue;
         row = *std::move(made);
         return true;
      }
      return false;
   }
   std::unique_ptr<orv::iter_impl<Value>> clone() const override {
      return std::make_unique<TableIter>(*this);
   }

private:
   typename TableType::Cursor cursor_;
   Make make_;
};

// The same over a table whose rows are std::shared_ptr<const Iter::value_type>: the iterator shares the row.
template <class Iter, class TableType>
class SharedTableIter final : public Iter::impl_type {
public:
   using Value = typename Iter::value_type;

   explicit SharedTableIter(const TableType& table) : cursor_(table) {}

   bool next(Value& row) override {
      const Value* const at = next_row(row);
      if (at == nullptr) return false;
      row = *at;
      return true;
   }
   const Value* next_row(Value&) override {
      const auto item = cursor_.next();
      if (item) {
         row_ = *item.row;
      } else {
         row_.reset();
      }
      return row_.get();
   }
   std::unique_ptr<orv::iter_impl<Value>> clone() const override {
      return std::make_unique<SharedTableIter>(*this);
   }

private:
   typename TableType::Cursor cursor_;
   std::shared_ptr<const Value> row_;
};

// makeTableIter<orv::vrf_iter_t>(table, [](auto item) { return std::optional(*item.key); })
template <class Iter, class TableType, class Make>
Iter makeTableIter(const TableType& table, Make make) {
   return Iter(std::make_unique<TableIter<Iter, TableType, Make>>(table, std::move(make)));
}

}  // namespace softswitch
