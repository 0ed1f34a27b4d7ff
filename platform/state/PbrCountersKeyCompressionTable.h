#pragma once

// Short keys: a number for each counter's long key.
// Thread-safety: guarded by the activity lock, which every caller holds.

#include <cstddef>
#include <cstdint>
#include <map>
#include <optional>
#include <unordered_map>
#include <utility>

#include "platform/state/PbrCounters.h"

class PbrCountersKeyCompressionTable {
public:
   // Above 0. A number is never used for a second key, nor again for a key that was removed, so that news of
   // the old counter cannot be taken for news of the new one.
   using Id = std::uint64_t;

   // Adds the key if it is new.
   // RETURNS: its number, and whether it is new.
   std::pair<Id, bool> keyIs(const PbrCountersKey& key) {
      const auto [it, fresh] = ids_.try_emplace(key, last_ + 1);
      if (fresh) keys_.emplace(++last_, &it->first);
      return {it->second, fresh};
   }
   // RETURNS: the number that the key had; nothing if it is not there.
   std::optional<Id> keyDel(const PbrCountersKey& key) {
      const auto it = ids_.find(key);
      if (it == ids_.end()) return std::nullopt;
      const Id id = it->second;
      keys_.erase(id);
      ids_.erase(it);
      return id;
   }

   [[nodiscard]] bool contains(const PbrCountersKey& key) const { return ids_.contains(key); }
   [[nodiscard]] std::size_t size() const { return keys_.size(); }
   // Calls `each(id, key)` in the order in which the keys came.
   template <typename Each>
   void forEach(Each each) const {
      for (const auto& [id, key] : keys_)
         each(id, *key);
   }

private:
   std::unordered_map<PbrCountersKey, Id> ids_;
   std::map<Id, const PbrCountersKey*> keys_;
   Id last_ = 0;
};
