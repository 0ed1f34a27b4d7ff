// Policy maps, where they are applied, and their status in hardware; traffic policies (traffic_policies.h).
//
// Hardware is a second stage. The main loop hands over each policy map that was set or applied and, after a
// change of a class map, every applied one. This succeeds if each rule's class map exists. Until the answer
// the status of an applied policy map is in_progress. Handlers then receive on_policy_map_sync or
// on_policy_map_sync_fail; after each policy_map_is they first receive on_policy_map_config_set. Deleting a
// policy map, even by a resync, removes it from its interfaces. A traffic policy is never refused by hardware
// (traffic_policy_status.h): after each traffic_policy_is handlers receive on_traffic_policy_config_set
// alone.
//
// Refusals (orv::invalid_argument_error unless noted otherwise, naming the value; nothing has changed then):
//    a key without a name or a feature, in every operation that writes; in policy_map_is also a name of more
//    than 400 bytes, or not in UTF-8
//    a rule of type class_map whose class map key has no name or another feature than the policy map
//    an action nexthop without nexthops or with a null one, nexthop_group without a name, vrf without a VRF;
//    a group or VRF name of more than 255 bytes, or a class map name of more than 400
//    a raw rule that no list could have (acl_rules.h), whatever the rule's type
//    a DSCP above 63, a traffic class above 7
//    applying a policy map, or to an interface, that does not exist; a direction other than in and out
//    more policy maps than the table holds, or a full disk (orv::error)
//    for traffic policies see traffic_policies.h
//
// Thread-safety: guarded by the SDK's lock; callbacks come from the main loop.
#pragma once

#include <map>
#include <set>
#include <string>
#include <vector>

#include "orv/policy_map.h"
#include "softswitch/managers/context.h"
#include "softswitch/managers/traffic_policies.h"
#include "softswitch/managers/traffic_policy_status.h"
#include "softswitch/tables/policy_codecs.h"
#include "softswitch/tables/table.h"

namespace softswitch {

class ClassMapMgr;
class IntfMgr;

// An interface has at most one policy map per feature and direction.
struct PolicyPlace {
   orv::intf_id_t intf;
   orv::acl_direction_t direction = orv::acl_direction_t::none;
   orv::policy_feature_t feature = orv::policy_feature_t::none;

   auto operator<=>(const PolicyPlace&) const = default;
};

struct PolicyPlaceCodec {
   static constexpr std::uint8_t version = 1;
   static void encodeKey(const PolicyPlace& key, store::Writer& out);
   static PolicyPlace decodeKey(store::Reader& in);
   static void encodeRow(const std::string& name, store::Writer& out) { out.text(name); }
   static std::string decodeRow(store::Reader& in, std::uint8_t) { return std::string(in.text()); }
};

class PolicyMapMgr final : public orv::PolicyMapMgrImpl {
public:
   using Maps = Table<orv::policy_map_key_t, orv::policy_map_t, RulesCodec<orv::policy_map_t>>;
   using Places = Table<PolicyPlace, std::string, PolicyPlaceCodec>;

   PolicyMapMgr(const Context& context, const IntfMgr& intfs, ClassMapMgr& classMaps);

   void resync_init() override;
   void resync_complete() override;
   bool exists(const orv::policy_map_key_t& key) const override;
   orv::policy_map_t policy_map(const orv::policy_map_key_t& key) const override;
   orv::policy_map_iter_t policy_map_iter(orv::policy_feature_t feature) const override;
   void policy_map_is(const orv::policy_map_t& map) override;
   void policy_map_del(const orv::policy_map_key_t& key) override;
   void policy_map_apply(const orv::policy_map_key_t& key, const orv::intf_id_t& intf,
                         orv::acl_direction_t direction, bool apply) override;
   orv::policy_map_hw_status_iter_t policy_map_hw_status_iter(orv::policy_feature_t feature) const override;
   orv::policy_map_hw_statuses_t hw_status(const orv::policy_map_key_t& key) const override;
   bool traffic_policy_exists(const std::string& name) const override;
   orv::traffic_policy_t traffic_policy(const std::string& name) const override;
   orv::traffic_policy_iter_t traffic_policy_iter() const override;
   void traffic_policy_is(const orv::traffic_policy_t& policy) override;
   void traffic_policy_del(const std::string& name) override;
   void traffic_policy_apply(const std::string& name, const orv::intf_id_t& intf,
                             orv::traffic_policy_direction_t direction, bool apply) override;
   Pavo::Ptr<const Pbr::Status> pbr_status() const override;

   // The maps in the rows have empty keys; the table has the keys.
   const Maps& maps() const { return maps_; }
   const Places& places() const { return places_; }
   const TrafficPolicies& trafficPolicies() const { return trafficPolicies_; }

private:
   std::vector<PolicyPlace> placesOf(const orv::policy_map_key_t& key) const;
   void takeOff(const orv::policy_map_key_t& key, const std::vector<PolicyPlace>& places);
   void program(const orv::policy_map_key_t& key);
   void programApplied();
   void programPending();
   std::string shortcoming(const orv::policy_map_t& map) const;

   Callbacks& callbacks_;
   const IntfMgr& intfs_;
   const ClassMapMgr& classMaps_;
   Maps maps_;
   Places places_;
   TrafficPolicies trafficPolicies_;
   TrafficPolicyStatus trafficPolicyStatus_;
   std::set<orv::policy_map_key_t> toProgram_;
   bool allAppliedToProgram_ = false;
   // Hardware's answers for policy maps that have not changed since.
   std::map<orv::policy_map_key_t, orv::policy_map_status_t> answers_;
};

}  // namespace softswitch
