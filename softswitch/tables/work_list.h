// A FIFO queue of work for the hardware stage.
//
// Thread-safety: none of its own; guarded by the SDK's lock.
#pragma once

#include <cstddef>
#include <vector>

namespace softswitch {

template <class Item>
class WorkList {
public:
   bool empty() const { return at_ == items_.size(); }
   void push(Item item) { items_.push_back(item); }

   // Passes the oldest items, at most `atMost`, to `visit`, which may push more.
   template <class Visit>
   void work(std::size_t atMost, Visit&& visit) {
      for (std::size_t done = 0; done < atMost && !empty(); ++done) {
         const Item item = items_[at_++];
         visit(item);
      }
      if (!empty()) return;
      items_.clear();
      // A large buffer is freed after a burst; a small one is kept.
      if (items_.capacity() > keptItems) items_.shrink_to_fit();
      at_ = 0;
   }

private:
   static constexpr std::size_t keptItems = 65536;

   std::vector<Item> items_;
   std::size_t at_ = 0;
};

}  // namespace softswitch
