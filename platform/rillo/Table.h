#pragma once

// A table of the platform's state: rows by key, one writer, and readers that are notified of changes.
//
// The main loop notifies readers after the changing call, once for each row that has changed since its last
// notification, however often it changed. A new reader is notified of every row present. A notified reader
// reads the row as it is at that moment.
//
// A Row with `std::uint64_t check() const` is verified at each read: reading a row whose memory is damaged
// throws TableCorruption until doCorruptionDetected is called for it.
//
// Thread-safety: guarded by the activity lock. Every caller holds it, also to destroy a Reaction.

#include <fmt/format.h>

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <deque>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <type_traits>
#include <unordered_map>
#include <utility>
#include <vector>

#include "platform/gorm/TaskScheduler.h"
#include "platform/pavo/Ptr.h"
#include "platform/rillo/Reader.h"
#include "platform/rillo/TableCorruption.h"

namespace Rillo {

template <typename Key, typename Row, typename Hash = std::hash<Key>>
class Table : public Pavo::RefCounted {
   struct Subscription;

public:
   using key_type = Key;
   using row_type = Row;

   // Called with the key of a row that was added, changed or removed.
   using Reactor = std::function<void(const Key& key)>;
   // The same with the row as of the reader's last notification; nothing if the row was missing or damaged
   // then.
   using ChangeReactor = std::function<void(const Key& key, const std::optional<Row>& before)>;

   // Keeps a reactor installed, and the table alive, as long as it lives. It may be destroyed inside the
   // reactor.
   class Reaction {
   public:
      Reaction() = default;

   private:
      friend class Table;
      explicit Reaction(std::unique_ptr<Subscription> subscription)
           : subscription_(std::move(subscription)) {}
      std::unique_ptr<Subscription> subscription_;
   };

   // `name` is for error texts.
   explicit Table(std::string name) : name_(std::move(name)) {}

   [[nodiscard]] const std::string& name() const { return name_; }
   [[nodiscard]] std::size_t size() const { return size_; }
   [[nodiscard]] bool contains(const Key& key) const {
      const auto it = slots_.find(key);
      return it != slots_.end() && entries_[it->second].present;
   }

   // RETURNS: a copy of the row, or nothing.
   // THROWS: TableCorruption.
   [[nodiscard]] std::optional<Row> row(const Key& key) const {
      const auto it = slots_.find(key);
      if (it == slots_.end() || !entries_[it->second].present) return std::nullopt;
      verify(it->second);
      return entries_[it->second].row;
   }

   // RETURNS: the row in place, or null. Valid until the table changes.
   // THROWS: TableCorruption.
   [[nodiscard]] const Row* find(const Key& key) const {
      const auto it = slots_.find(key);
      if (it == slots_.end() || !entries_[it->second].present) return nullptr;
      verify(it->second);
      return &entries_[it->second].row;
   }

   // RETURNS: the keys, in no particular order.
   [[nodiscard]] std::vector<Key> keys() const {
      std::vector<Key> result;
      result.reserve(size_);
      for (const auto& entry : entries_) {
         if (entry.present) result.push_back(entry.key);
      }
      return result;
   }

   // Sets a row.
   // RETURNS: false if the row had this value already.
   bool rowIs(const Key& key, const Row& row) {
      const auto slot = slotFor(key);
      auto& entry = entries_[slot];
      if (entry.present && entry.row == row && intact(entry)) return false;
      noteChange(slot);
      if (!entry.present) ++size_;
      entry.present = true;
      entry.row = row;
      entry.check = checkOf(row);
      return true;
   }

   // RETURNS: false if there was no such row.
   bool rowDel(const Key& key) {
      const auto it = slots_.find(key);
      if (it == slots_.end() || !entries_[it->second].present) return false;
      const auto slot = it->second;
      noteChange(slot);
      entries_[slot].present = false;
      --size_;
      freeIfUnused(slot);
      return true;
   }

   void clear() {
      for (const auto& key : keys())
         rowDel(key);
   }

   // Notifies `reactor` of the rows that are present, and then of changes.
   [[nodiscard]] Reaction reactorIs(Reactor reactor,
                                    const Pavo::Ptr<Gorm::TaskScheduler>& scheduler = mainScheduler()) const {
      return subscribe(
           [react = std::move(reactor)](const Key& key, const std::optional<Row>&) { react(key); }, false,
           scheduler);
   }
   [[nodiscard]] Reaction changeReactorIs(
        ChangeReactor reactor, const Pavo::Ptr<Gorm::TaskScheduler>& scheduler = mainScheduler()) const {
      return subscribe(std::move(reactor), true, scheduler);
   }

   // For the writer: `repair` sets or deletes a damaged row.
   void repairIs(std::function<void(const Key& key)> repair) { repair_ = std::move(repair); }
   // For a reader that has caught a TableCorruption: lets the writer repair the row, and removes the row if
   // it is still damaged. A no-op if the row is intact.
   void doCorruptionDetected(const TableCorruption& corruption) const {
      const auto slot = corruption.slot();
      const auto damaged = [&] {
         return slot < entries_.size() && entries_[slot].present && !intact(entries_[slot]);
      };
      if (!damaged()) return;
      ++corruptions_;
      const Key key = entries_[slot].key;
      if (repair_) repair_(key);
      if (damaged()) const_cast<Table*>(this)->rowDel(key);
   }
   // RETURNS: how many damaged rows were reported so far.
   [[nodiscard]] std::uint64_t corruptions() const { return corruptions_; }

   // Damages a row in memory, as a writer that dies in the middle of a write would, and notifies readers.
   // RETURNS: false if there is no such row.
   bool damageRow(const Key& key) requires std::is_trivially_copyable_v<Row> {
      const auto it = slots_.find(key);
      if (it == slots_.end() || !entries_[it->second].present) return false;
      noteChange(it->second);
      reinterpret_cast<unsigned char*>(&entries_[it->second].row)[0] ^= 1U;
      return true;
   }

protected:
   ~Table() override = default;

private:
   struct Entry {
      Key key;
      Row row{};
      std::uint64_t check = 0;
      std::uint32_t waiting = 0;  // readers with a queued notification; the slot keeps its key for them
      bool present = false;
   };

   struct Subscription {
      Pavo::Ptr<const Table> table;
      std::shared_ptr<const ChangeReactor> react;
      bool keepsBefore;
      std::unordered_map<std::uint32_t, std::optional<Row>> before;  // of rows with a queued notification
      std::shared_ptr<Reader> reader;

      Subscription(const Table* ofTable, ChangeReactor reactor, bool keeps)
           : table(ofTable),
             react(std::make_shared<const ChangeReactor>(std::move(reactor))),
             keepsBefore(keeps) {}
      Subscription(const Subscription&) = delete;
      Subscription& operator=(const Subscription&) = delete;
      ~Subscription() { table->unsubscribe(*this); }
   };

   static const Pavo::Ptr<Gorm::TaskScheduler>& mainScheduler() {
      return Gorm::TaskSchedulerRoot::findOrCreateScheduler();
   }

   static std::uint64_t checkOf(const Row& row) {
      if constexpr (requires { row.check(); }) {
         return row.check();
      } else {
         return 0;
      }
   }
   static bool intact(const Entry& entry) { return checkOf(entry.row) == entry.check; }
   void verify(std::uint32_t slot) const {
      if (!intact(entries_[slot])) {
         throw TableCorruption(slot, fmt::format("table '{}': row {} is damaged", name_, slot));
      }
   }

   std::uint32_t slotFor(const Key& key) {
      const auto it = slots_.find(key);
      if (it != slots_.end()) return it->second;
      std::uint32_t slot = 0;
      if (!free_.empty()) {
         slot = free_.back();
         free_.pop_back();
         entries_[slot].key = key;
      } else {
         slot = static_cast<std::uint32_t>(entries_.size());
         entries_.push_back({.key = key});
      }
      slots_.emplace(key, slot);
      return slot;
   }

   void freeIfUnused(std::uint32_t slot) const {
      auto& entry = entries_[slot];
      if (entry.present || entry.waiting != 0) return;
      slots_.erase(entry.key);
      entry.key = Key{};
      entry.row = Row{};
      free_.push_back(slot);
   }

   // Called before the row changes.
   void noteChange(std::uint32_t slot) {
      auto& entry = entries_[slot];
      for (Subscription* reader : readers_) {
         if (!reader->reader->changed(slot)) continue;
         ++entry.waiting;
         if (reader->keepsBefore) {
            reader->before[slot] =
                 entry.present && intact(entry) ? std::optional<Row>(entry.row) : std::nullopt;
         }
      }
   }

   Reaction subscribe(ChangeReactor reactor, bool keepsBefore,
                      const Pavo::Ptr<Gorm::TaskScheduler>& scheduler) const {
      auto made = std::make_unique<Subscription>(this, std::move(reactor), keepsBefore);
      auto* const raw = made.get();
      raw->reader = Reader::make(scheduler, fmt::format("reader of {}", name_),
                                 [this, raw](std::uint32_t slot) { tell(*raw, slot); });
      readers_.push_back(raw);
      for (std::uint32_t slot = 0; slot < entries_.size(); ++slot) {
         if (!entries_[slot].present) continue;
         raw->reader->changed(slot);
         ++entries_[slot].waiting;
      }
      return Reaction(std::move(made));
   }

   // The reactor's call may destroy the subscription and this table.
   void tell(Subscription& to, std::uint32_t slot) const {
      auto& entry = entries_[slot];
      const Key key = entry.key;
      std::optional<Row> before;
      if (to.keepsBefore) {
         if (auto node = to.before.extract(slot)) before = std::move(node.mapped());
      }
      --entry.waiting;
      freeIfUnused(slot);
      const auto react = to.react;
      (*react)(key, before);
   }

   void unsubscribe(Subscription& gone) const {
      std::erase(readers_, &gone);
      for (const auto slot : gone.reader->close()) {
         --entries_[slot].waiting;
         freeIfUnused(slot);
      }
   }

   const std::string name_;
   // Mutable, because readers hold a const table and their queued notifications are not part of its value.
   mutable std::deque<Entry> entries_;
   mutable std::unordered_map<Key, std::uint32_t, Hash> slots_;
   mutable std::vector<std::uint32_t> free_;
   mutable std::vector<Subscription*> readers_;
   mutable std::uint64_t corruptions_ = 0;
   std::size_t size_ = 0;
   std::function<void(const Key& key)> repair_;
};

}  // namespace Rillo
