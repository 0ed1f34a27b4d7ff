#include "OrvSdkRpc/mirror/GroupCountersIterator.h"

#include <utility>

#include "OrvSdkRpc/mirror/SearchSlice.h"

namespace OrvSdkRpc {

GroupCounters::GroupCounters(GroupCounters&& other) noexcept = default;
GroupCounters& GroupCounters::operator=(GroupCounters&& other) noexcept = default;

GroupCountersIterator::GroupCountersIterator(const orv::nexthop_group_mgr& mgr)
     : mgr_(mgr), at_(mgr.programmed_nexthop_group_iter()) {}

GroupCountersIterator::GroupCountersIterator(const orv::nexthop_group_mgr& mgr, NameRegex regex)
     : mgr_(mgr), at_(mgr.programmed_nexthop_group_iter()), regex_(std::move(regex)) {
   search();
}

GroupCountersIterator::GroupCountersIterator(const orv::nexthop_group_mgr& mgr, std::string name)
     : mgr_(mgr), at_(std::move(name)) {}

GroupCountersIterator::operator bool() const {
   if (searching_) return false;
   if (const auto* groups = std::get_if<Programmed>(&at_)) return static_cast<bool>(*groups);
   return !std::get<std::string>(at_).empty();
}

GroupCountersIterator& GroupCountersIterator::operator++() {
   if (auto* groups = std::get_if<Programmed>(&at_)) {
      ++*groups;
      search();
   } else {
      std::get<std::string>(at_).clear();
   }
   return *this;
}

GroupCounters GroupCountersIterator::operator*() const {
   GroupCounters result;
   result.name = name();
   const orv::nexthop_group_t group = mgr_.programmed_nexthop_group(result.name);
   for (const auto& [entry, nexthop] : group.nexthops()) {
      const auto counter = mgr_.counter(result.name, entry);
      if (counter.valid()) result.counters.push_back({entry, counter});
   }
   return result;
}

const std::string& GroupCountersIterator::name() const {
   if (const auto* groups = std::get_if<Programmed>(&at_)) return **groups;
   return std::get<std::string>(at_);
}

// Advances to the next matching name, starting with the current one.
void GroupCountersIterator::search() {
   searching_ = false;
   if (!regex_) return;
   Programmed& groups = std::get<Programmed>(at_);
   SearchSlice slice;
   while (groups && !regex_->matches(*groups)) {
      ++groups;
      if (slice.over()) {
         searching_ = true;
         return;
      }
   }
}

}  // namespace OrvSdkRpc
