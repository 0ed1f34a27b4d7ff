// Traffic policies, and where they are applied. PolicyMapMgr serves them to the SDK.
//
// An interface has at most one policy per direction; applying another one replaces it. Deleting a policy,
// even by a resync, removes it from its interfaces.
//
// Refusals (orv::invalid_argument_error unless noted otherwise, naming the value; nothing has changed then):
//    an empty name, in every operation that writes
//    in set() a policy that no switch could have (traffic_policy_rules.h)
//    applying a policy, or to an interface, that does not exist; a direction other than in and out
//    more policies than the table holds, or a full disk (orv::error)
//
// Thread-safety: guarded by the SDK's lock, which every caller holds.
#pragma once

#include <absl/container/flat_hash_map.h>

#include <cstddef>
#include <functional>
#include <string>
#include <utility>
#include <vector>

#include "orv/policy_map.h"
#include "softswitch/managers/context.h"
#include "softswitch/tables/table.h"
#include "softswitch/tables/traffic_policy_codec.h"

namespace softswitch {

class IntfMgr;

struct TrafficPolicyPlace {
   orv::intf_id_t intf;
   orv::traffic_policy_direction_t direction = orv::traffic_policy_direction_t::in;

   auto operator<=>(const TrafficPolicyPlace&) const = default;
};

struct TrafficPolicyPlaceCodec {
   static constexpr std::uint8_t version = 1;
   static void encodeKey(const TrafficPolicyPlace& key, store::Writer& out);
   static TrafficPolicyPlace decodeKey(store::Reader& in);
   static void encodeRow(const std::string& name, store::Writer& out) { out.text(name); }
   static std::string decodeRow(store::Reader& in, std::uint8_t) { return std::string(in.text()); }
};

class TrafficPolicies {
public:
   using Policies = Table<std::string, orv::traffic_policy_t, TrafficPolicyCodec>;
   using Places = Table<TrafficPolicyPlace, std::string, TrafficPolicyPlaceCodec>;

   TrafficPolicies(const Context& context, const IntfMgr& intfs);

   void resyncInit() { policies_.resyncInit(); }
   void resyncComplete();

   // A default policy if the policy does not exist.
   orv::traffic_policy_t policy(const std::string& name) const;
   void set(const orv::traffic_policy_t& policy);
   void del(const std::string& name);
   void apply(const std::string& name, const orv::intf_id_t& intf, orv::traffic_policy_direction_t direction,
              bool apply);

   // `changed` is called with the name of each policy that was set or removed, or that was applied somewhere
   // or removed from somewhere.
   void onChange(std::function<void(const std::string& name)> changed) { changed_ = std::move(changed); }
   // Whether the policy is applied to any interface.
   bool applied(const std::string& name) const { return uses_.contains(name); }

   // The policies in the rows have empty keys; the table has the names.
   const Policies& policies() const { return policies_; }
   // The names of the policies that are applied.
   const Places& places() const { return places_; }

private:
   std::vector<TrafficPolicyPlace> placesOf(const std::string& name) const;
   void takeOff(const std::string& name, const std::vector<TrafficPolicyPlace>& places);
   void placeDel(const TrafficPolicyPlace& place, const std::string& name);
   void unused(const std::string& name);
   void changed(const std::string& name) const {
      if (changed_) changed_(name);
   }

   const IntfMgr& intfs_;
   Policies policies_;
   Places places_;
   // At how many places each applied policy is.
   absl::flat_hash_map<std::string, std::size_t> uses_;
   std::function<void(const std::string& name)> changed_;
};

}  // namespace softswitch
