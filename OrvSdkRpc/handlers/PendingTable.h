// A table of waiting entries, one per key. A pass over it may stop anywhere; the next pass continues there.
//
// Thread-safety: none of its own.
//
// Keys are in the order of their hashes. Insertions and removals do not change that order. It is not the
// order of arrival, so that the old keys of a busy source do not delay the new keys of another. See
// docs/decisions/pending-table.md.
#pragma once

#include <algorithm>
#include <bit>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <list>
#include <optional>
#include <utility>
#include <vector>

#include "platform/pavo/Allocator.h"

namespace OrvSdkRpc {

// std::hash of a number is the number itself. This hash spreads the bits, above all into the upper ones.
template <class Key>
struct SpreadHash {
   std::uint64_t operator()(const Key& key) const {
      const std::uint64_t hash = std::hash<Key>{}(key);
      return (hash ^ (hash >> 32)) * 0x9e3779b97f4a7c15ULL;
   }
};

// Key has operator<. Hash is well spread in its upper bits. Entry is default-constructible and movable.
//
// An entry keeps its address until it is erased; its memory is then reused. A moved-from table may only be
// assigned to or destroyed.
template <class Key, class Entry, class Hash = SpreadHash<Key>>
class PendingTable {
public:
   [[nodiscard]] std::size_t size() const { return size_; }
   [[nodiscard]] bool empty() const { return size_ == 0; }
   // Key at which the next pass begins; empty for the first key.
   [[nodiscard]] const std::optional<Key>& resumeKey() const { return resumeKey_; }

   [[nodiscard]] bool contains(const Key& key) const {
      if (empty()) return false;
      const std::uint64_t hash = Hash{}(key);
      return stands(lowerBound(hash, key), hash, key);
   }

   // RETURNS: the entry of the key, and whether this call created it from `args`.
   template <class... Args>
   std::pair<Entry&, bool> emplace(const Key& key, Args&&... args) {
      if (4 * (size_ + 1) > 3 * homes_) grow();
      const std::uint64_t hash = Hash{}(key);
      const std::size_t at = lowerBound(hash, key);
      if (stands(at, hash, key)) return {slots_[at].node->entry, false};
      Node* const node = newNode(key);
      node->entry = Entry(std::forward<Args>(args)...);
      makeRoom(at);
      slots_[at] = {hash, node};
      ++size_;
      ++insertions_;
      return {node->entry, true};
   }

   // If the next pass would begin at the key, it begins at the following key.
   void erase(const Key& key) {
      if (empty()) return;
      const std::uint64_t hash = Hash{}(key);
      const std::size_t at = lowerBound(hash, key);
      if (!stands(at, hash, key)) return;
      if (resumeKey_ && *resumeKey_ == key) resumeAt(occupied(at + 1));
      eraseRange(at, at + 1);
   }

   // Calls visit(key, entry) for each entry, from where the last pass stopped, until `visit` returns false or
   // the table ends. Then erases the visited entries; the one for which `visit` returned false stays for the
   // next pass. `visit` may add entries; those that fall among the visited ones are erased too.
   // RETURNS: the number of visited entries.
   template <class Visit>
   std::size_t pass(Visit&& visit) {
      if (empty()) {
         resumeKey_.reset();
         return 0;
      }
      std::size_t first = occupied(resumeKey_ ? lowerBound(Hash{}(*resumeKey_), *resumeKey_) : 0);
      const Slot start = slots_[first];
      std::size_t at = first;
      std::size_t visited = 0;
      while (Node* const node = slots_[at].node) {
         prefetchNode(at + lookAhead);
         const std::uint64_t hash = slots_[at].hash;
         const std::size_t insertions = insertions_;
         const bool more = visit(std::as_const(node->key), node->entry);
         if (insertions != insertions_) {
            // A new entry may have shifted slots.
            at = lowerBound(hash, node->key);
            first = lowerBound(start.hash, start.node->key);
         }
         if (!more) break;
         ++visited;
         at = occupied(at + 1);
      }
      resumeAt(at);
      eraseRange(first, at);
      return visited;
   }

   void clear() { *this = PendingTable(); }

private:
   struct Node {
      Key key{};
      Entry entry{};
   };
   // A slot without a node is empty.
   struct Slot {
      std::uint64_t hash = 0;
      Node* node = nullptr;
   };

   // The slots are a hash table with linear probing. The upper bits of a hash give the home slot of an entry.
   // Entries are sorted by (hash, key); an entry is never before its home, and no slot from its home up to
   // the entry is empty. So iterating over the slots visits the entries in order, and growing keeps that
   // order. Entries that overflow lie behind the last home; the last slot is always empty.
   static constexpr std::size_t homesMin = 16;
   static constexpr std::size_t keptMin = 64;

   [[nodiscard]] std::size_t home(std::uint64_t hash) const { return hash >> shift_; }
   [[nodiscard]] std::size_t end() const { return slots_.size() - 1; }

   // The slot where the key is or belongs.
   [[nodiscard]] std::size_t lowerBound(std::uint64_t hash, const Key& key) const {
      std::size_t at = home(hash);
      while (slots_[at].node &&
             (slots_[at].hash != hash ? slots_[at].hash < hash : slots_[at].node->key < key)) {
         ++at;
      }
      return at;
   }
   // Whether the key is at `at`, its lower bound.
   [[nodiscard]] bool stands(std::size_t at, std::uint64_t hash, const Key& key) const {
      return slots_[at].node && slots_[at].hash == hash && !(key < slots_[at].node->key);
   }
   // The first occupied slot at or after `at`, or end().
   [[nodiscard]] std::size_t occupied(std::size_t at) const {
      while (at < end() && !slots_[at].node)
         ++at;
      return std::min(at, end());
   }

   // Nodes lie in memory in order of creation, so a pass would miss the cache on each of them.
   static constexpr std::size_t lookAhead = 6;
   void prefetchNode(std::size_t at) const {
      if (at < slots_.size()) __builtin_prefetch(slots_[at].node);
   }

   // Shifts the entry at `at`, and those directly behind it, by one slot.
   void makeRoom(std::size_t at) {
      std::size_t gap = at;
      while (slots_[gap].node)
         ++gap;
      if (gap == end()) slots_.emplace_back();
      std::move_backward(slots_.begin() + static_cast<std::ptrdiff_t>(at),
                         slots_.begin() + static_cast<std::ptrdiff_t>(gap),
                         slots_.begin() + static_cast<std::ptrdiff_t>(gap) + 1);
   }

   void grow() {
      const Slots before = std::move(slots_);
      homes_ = std::max(2 * homes_, homesMin);
      shift_ = 64U - static_cast<unsigned>(std::countr_zero(homes_));
      slots_.assign(homes_ + 1, Slot());
      std::size_t at = 0;
      for (const Slot& slot : before) {
         if (!slot.node) continue;
         at = std::max(at, home(slot.hash));
         if (at == end()) slots_.emplace_back();
         slots_[at++] = slot;
      }
   }

   void eraseRange(std::size_t first, std::size_t last) {
      for (std::size_t at = first; at != last; ++at) {
         if (!slots_[at].node) continue;
         freeNode(slots_[at].node);
         slots_[at].node = nullptr;
         --size_;
      }
      // The entries directly behind move up, towards their homes.
      std::size_t to = first;
      for (std::size_t at = last; slots_[at].node; ++at, ++to) {
         to = std::max(to, home(slots_[at].hash));
         if (to == at) break;
         slots_[to] = std::exchange(slots_[at], Slot());
      }
      if (empty()) trim();
   }

   void resumeAt(std::size_t at) {
      if (slots_[at].node) {
         resumeKey_ = slots_[at].node->key;
      } else {
         resumeKey_.reset();
      }
   }

   Node* newNode(const Key& key) {
      Node* node = nullptr;
      if (free_.empty()) {
         node = &nodes_.emplace_back();
      } else {
         node = free_.back();
         free_.pop_back();
      }
      node->key = key;
      most_ = std::max(most_, size_ + 1);
      return node;
   }
   void freeNode(Node* node) {
      node->key = Key();
      node->entry = Entry();
      free_.push_back(node);
   }
   // Frees the memory of an empty table if there is little of it or if the last fill needed less than half of
   // it.
   void trim() {
      if (most_ < keptMin || nodes_.size() > 2 * most_) clear();
      most_ = 0;
   }

   using Slots = std::vector<Slot>;

   Slots slots_;
   // A power of two. The home of a hash is its bits from shift_ upwards.
   std::size_t homes_ = 0;
   unsigned shift_ = 64;
   std::size_t size_ = 0;
   std::size_t insertions_ = 0;
   std::list<Node, Pavo::Allocator<Node>> nodes_;
   std::vector<Node*> free_;
   // The largest size since the table was last empty.
   std::size_t most_ = 0;
   std::optional<Key> resumeKey_;
};

}  // namespace OrvSdkRpc
