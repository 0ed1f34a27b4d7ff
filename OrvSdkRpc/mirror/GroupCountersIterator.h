// Walks nexthop groups and yields each with the counters of its entries.
//
// Thread-safety: as the SDK's iterators, but for *, which reads the manager and needs the SDK's lock too.
#pragma once

#include <boost/container/small_vector.hpp>
#include <cstdint>
#include <optional>
#include <string>
#include <variant>

#include "OrvSdkRpc/mirror/NameRegex.h"
#include "orv/nexthop_group.h"

namespace OrvSdkRpc {

struct GroupCounters {
   struct Entry {
      std::uint16_t entry;
      orv::nexthop_group_entry_counter_t counter;
   };

   GroupCounters() = default;
   // Not inline: gcc warns of a move beyond the room for 16 where it sees the object that is moved from.
   GroupCounters(GroupCounters&& other) noexcept;
   GroupCounters& operator=(GroupCounters&& other) noexcept;
   ~GroupCounters() = default;

   std::string name;
   // The valid ones, in the order of the entries.
   boost::container::small_vector<Entry, 16> counters;
};

class GroupCountersIterator {
public:
   // Every group that hardware has. The manager outlives the iterator in all three.
   explicit GroupCountersIterator(const orv::nexthop_group_mgr& mgr);
   // Those of them whose name matches. The search for the next one goes on for a moment at a time, so that
   // an expression that nothing matches holds up neither the switch nor the server: see searching().
   GroupCountersIterator(const orv::nexthop_group_mgr& mgr, NameRegex regex);
   // This group, whether it is there or not; none for an empty name.
   GroupCountersIterator(const orv::nexthop_group_mgr& mgr, std::string name);

   // False also while it searches.
   explicit operator bool() const;
   GroupCountersIterator& operator++();
   // Whether it stands on a name that was not looked at yet. search() then goes on from there, and may leave
   // it searching again; the SDK's lock need not be held in between.
   [[nodiscard]] bool searching() const { return searching_; }
   void search();
   GroupCounters operator*() const;

private:
   using Programmed = orv::programmed_nexthop_group_iter_t;

   [[nodiscard]] const std::string& name() const;

   const orv::nexthop_group_mgr& mgr_;
   std::variant<std::string, Programmed> at_;
   std::optional<NameRegex> regex_;
   bool searching_ = false;
};

}  // namespace OrvSdkRpc
