// What waits, one entry a key, and passes over it that may stop anywhere and go on later.
//
// Thread-safety: none of its own.
//
// The order of the keys is that of their hashes: stable, whatever comes and goes, and not the order of
// arrival, so that a busy source's old keys do not push back the new ones of another. A hash table proper has
// no order that survives its growth, so this is a tree over (hash, key); with the hash in front nearly every
// comparison is one of two integers. See docs/decisions/pending-table.md.
#pragma once

#include <cstddef>
#include <functional>
#include <map>
#include <optional>
#include <tuple>
#include <utility>

#include "pavo/Allocator.h"

namespace OrvSdkRpc {

// Key is hashable by std::hash and ordered by <.
template <class Key, class Entry>
class PendingTable {
public:
   [[nodiscard]] std::size_t size() const { return table_.size(); }
   [[nodiscard]] bool empty() const { return table_.empty(); }
   // Where the next pass begins; empty for the beginning.
   [[nodiscard]] const std::optional<Key>& resumeKey() const { return resumeKey_; }

   // The entry of the key and whether it was made now, from `args`.
   template <class... Args>
   std::pair<Entry&, bool> emplace(const Key& key, Args&&... args) {
      const Probe probe{std::hash<Key>{}(key), key};
      const auto at = table_.lower_bound(probe);
      if (at != table_.end() && at->first.hash == probe.hash && !(key < at->first.key)) {
         return {at->second, false};
      }
      const auto made = table_.emplace_hint(at, std::piecewise_construct, std::forward_as_tuple(probe),
                                            std::forward_as_tuple(std::forward<Args>(args)...));
      return {made->second, true};
   }

   // A pass that would begin at the key begins at the next one.
   void erase(const Key& key) {
      const auto at = table_.find(Probe{std::hash<Key>{}(key), key});
      if (at == table_.end()) return;
      const auto next = table_.erase(at);
      if (resumeKey_ && *resumeKey_ == key) resumeAt(next);
   }

   // Calls visit(key, entry) for one entry after the other, from where the last pass stopped, until it
   // answers false, which leaves that entry for the next pass, or the table ends. Then erases what was
   // visited. Returns how many that are. `visit` may make entries; those that fall among the visited ones go
   // with them.
   template <class Visit>
   std::size_t pass(Visit&& visit) {
      const auto first = resumeKey_ ? table_.lower_bound(Probe{std::hash<Key>{}(*resumeKey_), *resumeKey_})
                                    : table_.begin();
      auto at = first;
      std::size_t visited = 0;
      while (at != table_.end() && visit(at->first.key, at->second)) {
         ++at;
         ++visited;
      }
      resumeAt(at);
      table_.erase(first, at);
      return visited;
   }

   void clear() {
      table_.clear();
      resumeKey_.reset();
   }

private:
   struct Probe {
      std::size_t hash;
      const Key& key;
   };
   struct Slot {
      explicit Slot(const Probe& probe) : hash(probe.hash), key(probe.key) {}
      std::size_t hash;
      Key key;
   };
   struct Before {
      using is_transparent = void;
      template <class A, class B>
      bool operator()(const A& a, const B& b) const {
         return a.hash != b.hash ? a.hash < b.hash : a.key < b.key;
      }
   };
   using Table = std::map<Slot, Entry, Before, Pavo::Allocator<std::pair<const Slot, Entry>>>;

   void resumeAt(typename Table::const_iterator at) {
      if (at == table_.end()) {
         resumeKey_.reset();
      } else {
         resumeKey_ = at->first.key;
      }
   }

   Table table_;
   std::optional<Key> resumeKey_;
};

}  // namespace OrvSdkRpc
