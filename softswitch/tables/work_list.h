// What waits for the hardware stage, in the order in which it came.
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

   // Hands the oldest items, `atMost` of them, to `visit`, which may push more.
   template <class Visit>
   void work(std::size_t atMost, Visit&& visit) {
      for (std::size_t done = 0; done < atMost && !empty(); ++done) {
         const Item item = items_[at_++];
         visit(item);
      }
      if (!empty()) return;
      items_.clear();
      // A burst's memory is given back, a trickle's is kept.
      if (items_.capacity() > keptItems) items_.shrink_to_fit();
      at_ = 0;
   }

private:
   static constexpr std::size_t keptItems = 65536;

   std::vector<Item> items_;
   std::size_t at_ = 0;
};

}  // namespace softswitch
