// The handlers of one manager and what each of them watches.
//
// A callback may change the list that is calling it: create and destroy handlers, including its own, and
// change what is watched. A handler created during a notification is first called by the next one.
//
// Thread-safety: guarded by the SDK's lock (lock.h). Callbacks come from the main loop, never from inside a
// caller's own call.
#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <unordered_set>
#include <vector>

#include "orv/lock.h"

namespace orv {

// Key is the type of what can be watched individually; std::monostate if nothing can.
template <typename Handler, typename Key>
class watch_list {
public:
   // Registers a handler that watches nothing yet.
   void add(Handler* handler) {
      sdk_lock_check();
      entries_.push_back({.handler = handler, .all = false, .keys = {}});
   }

   // A no-op if the handler is not registered. Requires the lock like the others, but does not check it:
   // destructors call this and must not throw.
   void del(Handler* handler) noexcept {
      for (entry& e : entries_) {
         if (e.handler == handler) e.handler = nullptr;
      }
      if (depth_ == 0) compact();
   }

   // Setting the same value again is harmless.
   void all_is(Handler* handler, bool interest) {
      sdk_lock_check();
      if (entry* e = find(handler)) e->all = interest;
   }

   // Watching a key is independent of watching all: ending one does not end the other.
   void key_is(Handler* handler, const Key& key, bool interest) {
      sdk_lock_check();
      entry* e = find(handler);
      if (e == nullptr) return;
      if (interest) {
         e->keys.insert(key);
      } else {
         e->keys.erase(key);
      }
   }

   // True if any handler watches; callers check this before they build an event.
   [[nodiscard]] bool wanted() const noexcept {
      return std::any_of(entries_.begin(), entries_.end(),
                         [](const entry& e) { return e.handler && (e.all || !e.keys.empty()); });
   }
   [[nodiscard]] bool wanted(const Key& key) const {
      return std::any_of(entries_.begin(), entries_.end(),
                         [&](const entry& e) { return e.handler && e.watches(key); });
   }
   [[nodiscard]] bool empty() const noexcept {
      return std::none_of(entries_.begin(), entries_.end(), [](const entry& e) { return e.handler; });
   }

   // Calls `call(handler)` for each handler that watches `key` or all, in order of registration.
   template <typename Call>
   void notify(const Key& key, Call&& call) {
      run([&](const entry& e) { return e.watches(key); }, call);
   }
   // The same for each handler that watches all: for an event that belongs to no key.
   template <typename Call>
   void notify_all(Call&& call) {
      run([](const entry& e) { return e.all; }, call);
   }
   // The same for each registered handler, whatever it watches.
   template <typename Call>
   void notify_every(Call&& call) {
      run([](const entry&) { return true; }, call);
   }

private:
   struct entry {
      Handler* handler;
      bool all;
      std::unordered_set<Key> keys;

      [[nodiscard]] bool watches(const Key& key) const {
         return all || (!keys.empty() && keys.find(key) != keys.end());
      }
   };

   entry* find(Handler* handler) {
      const auto it = std::find_if(entries_.begin(), entries_.end(),
                                   [&](const entry& e) { return e.handler == handler; });
      return it == entries_.end() ? nullptr : &*it;
   }

   void compact() noexcept {
      std::erase_if(entries_, [](const entry& e) { return e.handler == nullptr; });
   }

   // By index: a callback may make entries_ grow; entries_ never shrinks meanwhile.
   template <typename Match, typename Call>
   void run(const Match& match, Call&& call) {
      const std::size_t count = entries_.size();
      const running mark(*this);
      for (std::size_t i = 0; i < count; ++i) {
         if (entries_[i].handler != nullptr && match(entries_[i])) call(*entries_[i].handler);
      }
   }

   class running {
   public:
      explicit running(watch_list& list) : list_(list) { ++list_.depth_; }
      ~running() {
         if (--list_.depth_ == 0) list_.compact();
      }
      running(const running&) = delete;
      running& operator=(const running&) = delete;

   private:
      watch_list& list_;
   };

   std::vector<entry> entries_;
   std::uint32_t depth_ = 0;
};

}  // namespace orv
