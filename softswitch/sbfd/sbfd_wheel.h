// A timer wheel: one time per node, for very many nodes whose times move all the time.
//
// Times are rounded up to whole ticks, so that all that is due within a tick is due at once and the main loop
// wakes once per tick at most. Setting, moving and cancelling cost the same whatever the number of nodes, and
// allocate nothing; a node whose time is further away than one turn of the wheel is looked at once per turn.
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

   // There are nodes 0 to `nodes` - 1. Never fewer than before.
   void grow(std::size_t nodes);

   // When the node is due, nanoseconds; it is due once, and no more at the time set before. sbfdNever: not at
   // all.
   void set(Node node, std::int64_t due);
   void cancel(Node node);

   // Takes out one node that is due by `now`, nanoseconds, which never goes back. A node that is set anew to
   // a time that has passed is due with the tick after the one that is being worked off.
   std::optional<Node> expired(std::int64_t now);

   // No node is due before; sbfdNever when none is set.
   std::int64_t nextDue() const;
   std::size_t size() const { return size_; }

private:
   using Link = std::uint32_t;
   // Heads of circular lists: the slots', then that of the nodes taken from the slot being worked off.
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
   std::vector<std::int64_t> tick_;  // of the nodes; unset for one that is not in the wheel
   std::size_t size_ = 0;
   std::int64_t cursor_ = 0;  // the last tick whose slot has been taken
};

}  // namespace softswitch
