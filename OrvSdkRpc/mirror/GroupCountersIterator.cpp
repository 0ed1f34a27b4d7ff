#include "OrvSdkRpc/mirror/GroupCountersIterator.h"

#include <cstddef>
#include <utility>

#include "orv/lock.h"

namespace OrvSdkRpc {
namespace {

// Names that are looked at in one go.
constexpr std::size_t atOnce = 4;

}  // namespace

GroupCounters::GroupCounters(GroupCounters&& other) noexcept = default;
GroupCounters& GroupCounters::operator=(GroupCounters&& other) noexcept = default;

GroupCountersIterator::GroupCountersIterator(const orv::nexthop_group_mgr& mgr)
     : mgr_(mgr), at_(mgr.programmed_nexthop_group_iter()) {}

GroupCountersIterator::GroupCountersIterator(const orv::nexthop_group_mgr& mgr, NameRegex regex)
     : mgr_(mgr), at_(mgr.programmed_nexthop_group_iter()), regex_(std::move(regex)) {
   skip(std::get<Programmed>(at_));
}

GroupCountersIterator::GroupCountersIterator(const orv::nexthop_group_mgr& mgr, std::string name)
     : mgr_(mgr), at_(std::move(name)) {}

GroupCountersIterator::operator bool() const {
   if (const auto* groups = std::get_if<Programmed>(&at_)) return static_cast<bool>(*groups);
   return !std::get<std::string>(at_).empty();
}

GroupCountersIterator& GroupCountersIterator::operator++() {
   if (auto* groups = std::get_if<Programmed>(&at_)) {
      ++*groups;
      skip(*groups);
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

void GroupCountersIterator::skip(Programmed& groups) const {
   if (!regex_) return;
   for (std::size_t looked = 1; groups && !regex_->matches(*groups); ++looked) {
      ++groups;
      // An expression that nothing matches must not hold up the switch for all of its groups.
      if (looked % atOnce == 0) orv::sdk_lock_yield();
   }
}

}  // namespace OrvSdkRpc
