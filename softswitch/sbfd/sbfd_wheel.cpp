#include "softswitch/sbfd/sbfd_wheel.h"

#include <algorithm>
#include <numeric>

#include "softswitch/sbfd/sbfd_path.h"

namespace softswitch {

SbfdWheel::SbfdWheel() : next_(firstNode), previous_(firstNode) {
   std::iota(next_.begin(), next_.end(), Link{0});
   previous_ = next_;
}

void SbfdWheel::grow(std::size_t nodes) {
   if (nodes <= tick_.size()) return;
   tick_.resize(nodes, unset);
   next_.resize(firstNode + nodes);
   previous_.resize(firstNode + nodes);
}

void SbfdWheel::insert(Link at, Link head) {
   const auto last = previous_[head];
   next_[at] = head;
   previous_[at] = last;
   next_[last] = at;
   previous_[head] = at;
}

void SbfdWheel::unlink(Link at) {
   next_[previous_[at]] = next_[at];
   previous_[next_[at]] = previous_[at];
}

// REQUIRES: `into` is empty.
void SbfdWheel::splice(Link from, Link into) {
   if (listEmpty(from)) return;
   next_[into] = next_[from];
   previous_[into] = previous_[from];
   previous_[next_[into]] = into;
   next_[previous_[into]] = into;
   next_[from] = previous_[from] = from;
}

void SbfdWheel::set(Node node, std::int64_t due) {
   cancel(node);
   if (due == sbfdNever) return;
   const auto tick = std::max((due + tickNanos - 1) / tickNanos, cursor_ + 1);
   tick_[node] = tick;
   insert(firstNode + node, slotOf(tick));
   ++size_;
}

void SbfdWheel::cancel(Node node) {
   if (tick_[node] == unset) return;
   tick_[node] = unset;
   unlink(firstNode + node);
   --size_;
}

std::optional<SbfdWheel::Node> SbfdWheel::expired(std::int64_t now) {
   const auto nowTick = now / tickNanos;
   for (;;) {
      while (!listEmpty(workHead)) {
         const auto at = next_[workHead];
         const Node node = at - firstNode;
         if (tick_[node] <= nowTick) {
            cancel(node);
            return node;
         }
         unlink(at);
         insert(at, slotOf(tick_[node]));
      }
      if (size_ == 0) cursor_ = std::max(cursor_, nowTick);
      if (cursor_ >= nowTick) return std::nullopt;
      // One turn visits every slot; further turns would visit them again.
      cursor_ = std::max(cursor_, nowTick - static_cast<std::int64_t>(slots)) + 1;
      splice(slotOf(cursor_), workHead);
   }
}

std::int64_t SbfdWheel::nextDue() const {
   if (size_ == 0) return sbfdNever;
   if (!listEmpty(workHead)) return cursor_ * tickNanos;
   for (std::int64_t ahead = 1; ahead <= static_cast<std::int64_t>(slots); ++ahead) {
      if (!listEmpty(slotOf(cursor_ + ahead))) return (cursor_ + ahead) * tickNanos;
   }
   return sbfdNever;
}

}  // namespace softswitch
