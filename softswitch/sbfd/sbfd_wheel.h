// A timer wheel: one time per node, for very many nodes whose times change all the time.
//
// Times are rounded up to whole ticks, so that everything due within a tick expires together and the main
// loop wakes at most once per tick. Setting, moving and cancelling take constant time and allocate nothing. A
// node whose time is more than one turn of the wheel ahead is visited once per turn.
//
// Thread-safety: none of its own; guarded by the SDK's lock.
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <vector>

namespace softswitch {

class SbfdWheel {
public:
   using Node = std::uint32_t;
   static constexpr std::int64_t tickNanos = 1'000'000;
   static constexpr std::size_t slots = 4096;  // a turn is 4.096 s

   SbfdWheel();

   // Makes room for nodes 0 to `nodes` - 1. Never shrinks.
   void grow(std::size_t nodes);

   // Sets when the node is due, in nanoseconds. It is due once and replaces any earlier setting; sbfdNever
   // cancels it.
   void set(Node node, std::int64_t due);
   void cancel(Node node);

   // Removes one node that is due by `now`, in nanoseconds of a monotonic clock. A node that is set again to
   // a past time is due at the tick after the one being processed.
   std::optional<Node> expired(std::int64_t now);

   // RETURNS: a time before which no node is due; sbfdNever if none is set.
   std::int64_t nextDue() const;
   std::size_t size() const { return size_; }

private:
   using Link = std::uint32_t;
   // Heads of circular lists: one per slot, then one for nodes taken from the slot being processed.
   static constexpr Link workHead = static_cast<Link>(slots);
   static constexpr Link firstNode = workHead + 1;
   static constexpr std::int64_t unset = -1;

   bool listEmpty(Link head) const { return next_[head] == head; }
   void insert(Link at, Link head);
   void unlink(Link at);
   void splice(Link from, Link into);
   static Link slotOf(std::int64_t tick) {
      return static_cast<Link>(static_cast<std::uint64_t>(tick) % slots);
   }

   std::vector<Link> next_;
   std::vector<Link> previous_;
   std::vector<std::int64_t> tick_;  // of the nodes; unset for a node that is not in the wheel
   std::size_t size_ = 0;
   std::int64_t cursor_ = 0;  // the last tick whose slot was taken
};

}  // namespace softswitch
