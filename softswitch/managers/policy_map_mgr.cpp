#include "softswitch/managers/policy_map_mgr.h"

#include <algorithm>
#include <functional>
#include <set>
#include <string_view>
#include <utility>

#include "orv/error.h"
#include "softswitch/managers/acl_rules.h"
#include "softswitch/managers/class_map_mgr.h"
#include "softswitch/managers/intf_mgr.h"
#include "softswitch/managers/mpls_vrf_label_mgr.h"
#include "softswitch/managers/nexthop_group_mgr.h"
#include "softswitch/tables/name_check.h"
#include "softswitch/tables/sdk_iters.h"

namespace softswitch {
namespace {

using orv::policy_action_type_t;

class MapCheck {
public:
   explicit MapCheck(const orv::policy_map_t& map) : map_(map) {}

   void run() {
      checkPolicyMapKey("policy map", map_.key());
      checkText("policy map name", map_.key().name(), policyNameBytesMax);
      for (const auto& [sequence, rule] : map_.rules()) {
         sequence_ = sequence;
         classMap(rule);
         rawRule(rule.raw_rule());
         for (const auto& action : rule.actions())
            this->action(action);
      }
   }

private:
   std::string where() const {
      return fmt::format("policy map '{}' rule {}", orv::detail::quotable(map_.key().name()), sequence_);
   }
   template <typename... Args>
   [[noreturn]] void refuse(fmt::format_string<Args...> format, Args&&... args) const {
      throw orv::invalid_argument_error(
           fmt::format("{}: {}", where(), fmt::format(format, std::forward<Args>(args)...)));
   }

   // For every type of rule: the table stores the raw rule and returns it.
   void rawRule(const orv::acl_rule_ip_t& rule) const {
      checkRawRule([this] { return where() + ": raw rule"; }, rule);
   }

   void name(std::string_view what, const std::string& text, std::size_t bytesMax) const {
      if (const auto fault = textFault(text, bytesMax); !fault.empty()) refuse("{} {}", what, fault);
   }

   void classMap(const orv::policy_map_rule_t& rule) const {
      const auto& key = rule.class_map_key();
      // For every type of rule: the table stores the name and returns it.
      name("class map name", key.name(), policyNameBytesMax);
      if (rule.policy_map_rule_type() != orv::policy_map_rule_type_t::class_map) return;
      if (key.name().empty()) refuse("the class map's name is empty, expected a name");
      if (key.feature() != map_.key().feature()) {
         refuse("class map '{}' has feature {}, expected {}", orv::detail::quotable(key.name()),
                orv::to_string(key.feature()), orv::to_string(map_.key().feature()));
      }
   }

   void action(const orv::policy_map_action_t& action) const {
      const auto type = action.action_type();
      if (type == policy_action_type_t::nexthop) {
         if (action.nexthops().empty()) refuse("action nexthop has no nexthops, expected at least one");
         for (const auto& nexthop : action.nexthops()) {
            if (nexthop.width() == 0)
               refuse("action nexthop has a null nexthop, expected IPv4 or IPv6 addresses");
         }
      }
      if (type == policy_action_type_t::nexthop_group && action.nexthop_group_name().empty()) {
         refuse("action nexthop-group has no group, expected a name");
      }
      if (type == policy_action_type_t::vrf && action.vrf().empty()) {
         refuse("action vrf has no VRF, expected a name");
      }
      name("action nexthop-group: group name", action.nexthop_group_name(), NexthopGroupMgr::nameBytesMax);
      name("action vrf: VRF name", action.vrf(), MplsVrfLabelMgr::vrfNameBytesMax);
      if (action.dscp() > 63) refuse("dscp {} is out of range, expected 0 to 63", action.dscp());
      if (action.traffic_class() > 7) {
         refuse("traffic-class {} is out of range, expected 0 to 7", action.traffic_class());
      }
   }

   const orv::policy_map_t& map_;
   std::uint32_t sequence_ = 0;
};

}  // namespace

void PolicyPlaceCodec::encodeKey(const PolicyPlace& key, store::Writer& out) {
   write(out, key.intf);
   writeEnum(out, key.direction);
   writeEnum(out, key.feature);
}

PolicyPlace PolicyPlaceCodec::decodeKey(store::Reader& in) {
   auto intf = readIntfId(in);
   const auto direction = readEnum(in, orv::acl_direction_t::out);
   const auto feature = readEnum(in, orv::policy_feature_t::control_plane);
   return {.intf = std::move(intf), .direction = direction, .feature = feature};
}

PolicyMapMgr::PolicyMapMgr(const Context& context, const IntfMgr& intfs, ClassMapMgr& classMaps)
     : callbacks_(context.callbacks),
       intfs_(intfs),
       classMaps_(classMaps),
       maps_(context.store, "policy map", context.limits.policyMaps),
       places_(context.store, "policy map place", 16 * Topology::maxInterfaces),
       trafficPolicies_(context, intfs),
       trafficPolicyStatus_(context, trafficPolicies_) {
   classMaps.onChange([this] { programApplied(); });
   // Hardware starts empty.
   maps_.forEach([this](const orv::policy_map_key_t& key, const auto&) { program(key); });
}

void PolicyMapMgr::resync_init() {
   orv::sdk_lock_check();
   maps_.resyncInit();
   trafficPolicies_.resyncInit();
}

void PolicyMapMgr::resync_complete() {
   orv::sdk_lock_check();
   maps_.resyncComplete(
        [this](const orv::policy_map_key_t& key, const auto&) { takeOff(key, placesOf(key)); });
   trafficPolicies_.resyncComplete();
}

bool PolicyMapMgr::exists(const orv::policy_map_key_t& key) const {
   orv::sdk_lock_check();
   return maps_.contains(key);
}

orv::policy_map_t PolicyMapMgr::policy_map(const orv::policy_map_key_t& key) const {
   orv::sdk_lock_check();
   const auto* row = maps_.find(key);
   if (row == nullptr) return {};
   auto map = *row;
   map.key_is(key);
   return map;
}

orv::policy_map_iter_t PolicyMapMgr::policy_map_iter(orv::policy_feature_t feature) const {
   orv::sdk_lock_check();
   return makeTableIter<orv::policy_map_iter_t>(maps_, [feature](const Maps::Item& item) {
      return item.key->feature() == feature ? std::optional(*item.key) : std::nullopt;
   });
}

void PolicyMapMgr::policy_map_is(const orv::policy_map_t& map) {
   orv::sdk_lock_check();
   MapCheck(map).run();
   auto row = map;
   row.key_is({});
   maps_.set(map.key(), std::move(row));
   callbacks_.post([this, key = map.key()] {
      handlers().notify(key,
                        [&](orv::policy_map_handler& handler) { handler.on_policy_map_config_set(key); });
   });
   program(map.key());
}

void PolicyMapMgr::policy_map_del(const orv::policy_map_key_t& key) {
   orv::sdk_lock_check();
   checkPolicyMapKey("policy map", key);
   if (!maps_.contains(key)) return;
   const auto places = placesOf(key);
   maps_.requireRoomToErase(1 + places.size());
   maps_.erase(key);
   takeOff(key, places);
}

void PolicyMapMgr::policy_map_apply(const orv::policy_map_key_t& key, const orv::intf_id_t& intf,
                                    orv::acl_direction_t direction, bool apply) {
   orv::sdk_lock_check();
   checkPolicyMapKey("policy map", key);
   if (direction != orv::acl_direction_t::in && direction != orv::acl_direction_t::out) {
      throw orv::invalid_argument_error(
           fmt::format("direction {}, expected in or out", orv::to_string(direction)));
   }
   const PolicyPlace place{.intf = intf, .direction = direction, .feature = key.feature()};
   const auto* applied = places_.find(place);
   // Works even if a new topology has left the interface out.
   if (!apply && applied != nullptr && *applied == key.name()) {
      places_.erase(place);
      return;
   }
   intfs_.require(intf);
   if (!apply) return;
   if (!maps_.contains(key)) {
      throw orv::invalid_argument_error(
           fmt::format("policy map '{}' cannot be applied to interface {}, it does not exist",
                       orv::detail::quotable(key.name()), intf));
   }
   places_.set(place, key.name());
   program(key);
}

orv::policy_map_hw_status_iter_t PolicyMapMgr::policy_map_hw_status_iter(
     orv::policy_feature_t feature) const {
   orv::sdk_lock_check();
   // The places are few; the maps may be many.
   return makeSnapshotIter<orv::policy_map_hw_status_iter_t>(
        [this, feature] {
           std::set<std::string> applied;
           places_.forEach([&](const PolicyPlace& place, const std::string& name) {
              if (place.feature == feature) applied.insert(name);
           });
           std::vector<orv::policy_map_key_t> keys;
           for (const auto& name : applied)
              keys.emplace_back(name, feature);
           return keys;
        },
        std::equal_to<>());
}

orv::policy_map_hw_statuses_t PolicyMapMgr::hw_status(const orv::policy_map_key_t& key) const {
   orv::sdk_lock_check();
   const auto answer = answers_.find(key);
   const auto status = answer == answers_.end() ? orv::policy_map_status_t::in_progress : answer->second;
   std::map<orv::policy_map_hw_status_key_t, orv::policy_map_status_t> statuses;
   for (const auto& place : placesOf(key)) {
      statuses.emplace(orv::policy_map_hw_status_key_t(place.intf, place.direction), status);
   }
   orv::policy_map_hw_statuses_t result(key);
   result.intf_statuses_is(std::move(statuses));
   return result;
}

bool PolicyMapMgr::traffic_policy_exists(const std::string& name) const {
   orv::sdk_lock_check();
   return trafficPolicies_.policies().contains(name);
}

orv::traffic_policy_t PolicyMapMgr::traffic_policy(const std::string& name) const {
   orv::sdk_lock_check();
   return trafficPolicies_.policy(name);
}

orv::traffic_policy_iter_t PolicyMapMgr::traffic_policy_iter() const {
   orv::sdk_lock_check();
   return makeTableIter<orv::traffic_policy_iter_t>(
        trafficPolicies_.policies(), [](const TrafficPolicies::Policies::Item& item) {
           return std::optional(orv::policy_map_key_t(*item.key, orv::policy_feature_t::none));
        });
}

void PolicyMapMgr::traffic_policy_is(const orv::traffic_policy_t& policy) {
   orv::sdk_lock_check();
   trafficPolicies_.set(policy);
   callbacks_.post([this, key = orv::policy_map_key_t(policy.key(), orv::policy_feature_t::none)] {
      handlers().notify(key,
                        [&](orv::policy_map_handler& handler) { handler.on_traffic_policy_config_set(key); });
   });
}

void PolicyMapMgr::traffic_policy_del(const std::string& name) {
   orv::sdk_lock_check();
   trafficPolicies_.del(name);
}

void PolicyMapMgr::traffic_policy_apply(const std::string& name, const orv::intf_id_t& intf,
                                        orv::traffic_policy_direction_t direction, bool apply) {
   orv::sdk_lock_check();
   trafficPolicies_.apply(name, intf, direction, apply);
}

Pavo::Ptr<const Pbr::Status> PolicyMapMgr::pbr_status() const {
   orv::sdk_lock_check();
   return trafficPolicyStatus_.table();
}

std::vector<PolicyPlace> PolicyMapMgr::placesOf(const orv::policy_map_key_t& key) const {
   std::vector<PolicyPlace> found;
   places_.forEach([&](const PolicyPlace& place, const std::string& name) {
      if (place.feature == key.feature() && name == key.name()) found.push_back(place);
   });
   return found;
}

void PolicyMapMgr::takeOff(const orv::policy_map_key_t& key, const std::vector<PolicyPlace>& places) {
   for (const auto& place : places)
      places_.erase(place);
   toProgram_.erase(key);
   answers_.erase(key);
}

void PolicyMapMgr::program(const orv::policy_map_key_t& key) {
   answers_.erase(key);
   const bool idle = toProgram_.empty() && !allAppliedToProgram_;
   toProgram_.insert(key);
   if (idle) callbacks_.post([this] { programPending(); });
}

void PolicyMapMgr::programApplied() {
   if (places_.empty()) return;
   const bool idle = toProgram_.empty() && !allAppliedToProgram_;
   allAppliedToProgram_ = true;
   if (idle) callbacks_.post([this] { programPending(); });
}

void PolicyMapMgr::programPending() {
   auto keys = std::exchange(toProgram_, {});
   if (std::exchange(allAppliedToProgram_, false)) {
      places_.forEach([&](const PolicyPlace& place, const std::string& name) {
         keys.insert(orv::policy_map_key_t(name, place.feature));
      });
   }
   for (const auto& key : keys) {
      // A handler may have removed the map.
      const auto* map = maps_.find(key);
      if (map == nullptr) continue;
      const auto words = shortcoming(*map);
      const auto status =
           words.empty() ? orv::policy_map_status_t::success : orv::policy_map_status_t::failure;
      answers_[key] = status;
      handlers().notify(key, [&](orv::policy_map_handler& handler) {
         if (words.empty()) {
            handler.on_policy_map_sync(key);
         } else {
            handler.on_policy_map_sync_fail(key, words);
         }
      });
   }
}

std::string PolicyMapMgr::shortcoming(const orv::policy_map_t& map) const {
   for (const auto& [sequence, rule] : map.rules()) {
      if (rule.policy_map_rule_type() == orv::policy_map_rule_type_t::class_map &&
          classMaps_.find(rule.class_map_key()) == nullptr) {
         return fmt::format("rule {}: class map '{}' does not exist", sequence,
                            orv::detail::quotable(rule.class_map_key().name()));
      }
   }
   return {};
}

}  // namespace softswitch
