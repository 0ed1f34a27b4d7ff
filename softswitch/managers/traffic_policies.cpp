#include "softswitch/managers/traffic_policies.h"

#include <utility>
#include <vector>

#include "orv/error.h"
#include "softswitch/managers/intf_mgr.h"
#include "softswitch/managers/topology.h"
#include "softswitch/managers/traffic_policy_rules.h"

namespace softswitch {
namespace {

void checkTrafficPolicyName(const std::string& name) {
   if (name.empty()) throw orv::invalid_argument_error("traffic policy name is empty, expected a name");
}

}  // namespace

void TrafficPolicyPlaceCodec::encodeKey(const TrafficPolicyPlace& key, store::Writer& out) {
   write(out, key.intf);
   writeEnum(out, key.direction);
}

TrafficPolicyPlace TrafficPolicyPlaceCodec::decodeKey(store::Reader& in) {
   auto intf = readIntfId(in);
   return {.intf = std::move(intf), .direction = readEnum(in, orv::traffic_policy_direction_t::out)};
}

TrafficPolicies::TrafficPolicies(const Context& context, const IntfMgr& intfs)
     : intfs_(intfs),
       policies_(context.store, "traffic policy", context.limits.trafficPolicies),
       places_(context.store, "traffic policy place", 2 * Topology::maxInterfaces) {
   places_.forEach([this](const TrafficPolicyPlace&, const std::string& name) { ++uses_[name]; });
}

void TrafficPolicies::resyncComplete() {
   policies_.resyncComplete([this](const std::string& name, const auto&) { takeOff(name, placesOf(name)); });
}

orv::traffic_policy_t TrafficPolicies::policy(const std::string& name) const {
   const auto* row = policies_.find(name);
   if (row == nullptr) return {};
   auto policy = *row;
   policy.key_is(name);
   return policy;
}

void TrafficPolicies::set(const orv::traffic_policy_t& policy) {
   checkTrafficPolicy(policy);
   auto row = policy;
   row.key_is({});
   policies_.set(policy.key(), std::move(row));
   changed(policy.key());
}

void TrafficPolicies::del(const std::string& name) {
   checkTrafficPolicyName(name);
   if (!policies_.contains(name)) return;
   const auto places = placesOf(name);
   policies_.requireRoomToErase(1 + places.size());
   policies_.erase(name);
   takeOff(name, places);
}

void TrafficPolicies::apply(const std::string& name, const orv::intf_id_t& intf,
                            orv::traffic_policy_direction_t direction, bool apply) {
   checkTrafficPolicyName(name);
   if (direction != orv::traffic_policy_direction_t::in &&
       direction != orv::traffic_policy_direction_t::out) {
      throw orv::invalid_argument_error(
           fmt::format("direction {}, expected in or out", orv::to_string(direction)));
   }
   const TrafficPolicyPlace place{.intf = intf, .direction = direction};
   const auto* applied = places_.find(place);
   // Works even if a new topology has left the interface out.
   if (!apply && applied != nullptr && *applied == name) {
      placeDel(place, name);
      return;
   }
   intfs_.require(intf);
   if (!apply) return;
   if (!policies_.contains(name)) {
      throw orv::invalid_argument_error(
           fmt::format("traffic policy '{}' cannot be applied to interface {}, it does not exist",
                       orv::detail::quotable(name), intf));
   }
   const auto before = applied == nullptr ? std::string() : *applied;
   if (before == name) return;
   places_.set(place, name);
   ++uses_[name];
   changed(name);
   if (!before.empty()) unused(before);
}

std::vector<TrafficPolicyPlace> TrafficPolicies::placesOf(const std::string& name) const {
   std::vector<TrafficPolicyPlace> found;
   places_.forEach([&](const TrafficPolicyPlace& place, const std::string& applied) {
      if (applied == name) found.push_back(place);
   });
   return found;
}

void TrafficPolicies::takeOff(const std::string& name, const std::vector<TrafficPolicyPlace>& places) {
   for (const auto& place : places)
      placeDel(place, name);
   changed(name);
}

void TrafficPolicies::placeDel(const TrafficPolicyPlace& place, const std::string& name) {
   places_.erase(place);
   unused(name);
}

// One place less has the policy.
void TrafficPolicies::unused(const std::string& name) {
   const auto it = uses_.find(name);
   if (--it->second == 0) uses_.erase(it);
   changed(name);
}

}  // namespace softswitch
