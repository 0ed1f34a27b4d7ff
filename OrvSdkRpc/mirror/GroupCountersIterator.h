// Iterates over nexthop groups and yields each with the counters of its entries.
//
// Thread-safety: as for the SDK's iterators, except that * reads the manager and also needs the SDK's lock.
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
   // Not inline: where gcc sees the moved-from object, it warns about a move beyond the 16 inline entries.
   GroupCounters(GroupCounters&& other) noexcept;
   GroupCounters& operator=(GroupCounters&& other) noexcept;
   ~GroupCounters() = default;

   std::string name;
   // The valid counters, in entry order.
   boost::container::small_vector<Entry, 16> counters;
};

class GroupCountersIterator {
public:
   // REQUIRES: in all three, the manager outlives the iterator.
   // Every group that is programmed in hardware.
   explicit GroupCountersIterator(const orv::nexthop_group_mgr& mgr);
   // Every programmed group whose name matches. The search runs in short slices, so that an expression
   // without a match blocks neither the switch nor the server: see searching().
   GroupCountersIterator(const orv::nexthop_group_mgr& mgr, NameRegex regex);
   // This group, whether or not it exists. An empty name yields an empty iteration.
   GroupCountersIterator(const orv::nexthop_group_mgr& mgr, std::string name);

   // False during a search, too.
   explicit operator bool() const;
   GroupCountersIterator& operator++();
   // True if the current name has not been checked yet. search() then continues from there and may be
   // interrupted again. The SDK's lock may be released in between.
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
