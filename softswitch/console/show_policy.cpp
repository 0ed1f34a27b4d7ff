#include <optional>
#include <set>
#include <string>
#include <utility>
#include <vector>

#include "softswitch/console/rows.h"
#include "softswitch/console/show.h"
#include "softswitch/lookup/traffic_policy_walk.h"
#include "softswitch/managers/acl_mgr.h"
#include "softswitch/managers/class_map_mgr.h"
#include "softswitch/managers/policy_map_mgr.h"
#include "softswitch/soft_switch.h"
#include "softswitch/traffic/policy_counters.h"

namespace softswitch::console {
namespace {

constexpr orv::policy_feature_t features[] = {orv::policy_feature_t::pbr, orv::policy_feature_t::qos,
                                              orv::policy_feature_t::tap_aggregation,
                                              orv::policy_feature_t::control_plane};

// An iterator over a table that yields keys and rows unchanged.
template <typename TableType>
class TableWalk {
public:
   using Pair = std::pair<typename TableType::key_type, typename TableType::row_type>;

   explicit TableWalk(const TableType& table) : cursor_(table) { ++*this; }
   explicit operator bool() const { return pair_.has_value(); }
   const Pair& operator*() const { return *pair_; }
   TableWalk& operator++() {
      pair_.reset();
      if (const auto item = cursor_.next()) pair_.emplace(*item.key, *item.row);
      return *this;
   }

private:
   typename TableType::Cursor cursor_;
   std::optional<Pair> pair_;
};

template <typename TableType, typename Show>
void forEachTableRow(const TableType& table, Show show, std::size_t perSpan = rowsPerSpan) {
   using Pair = typename TableWalk<TableType>::Pair;
   forEachRow([&] { return TableWalk(table); }, [](const Pair& pair) { return pair; },
              [&](const Pair& pair) { show(pair.first, pair.second); }, perSpan);
}

// A policy may have a thousand rules.
constexpr std::size_t policiesPerSpan = 1;

std::string ruleText(const AclRule& rule) {
   return std::visit([](const auto& r) { return r.to_string(); }, rule);
}

// What the next commit does to a row: nothing, removes it, or adds it.
const char* stateText(bool alike, bool committed) {
   return alike ? "committed" : committed ? "deleting" : "pending";
}

void aclLists(Document& document, const AclMgr::Lists& lists, const AclMgr::Lists& others, bool committed) {
   forEachTableRow(lists, [&](const orv::acl_key_t& key, const AclRow& row) {
      const bool alike = locked([&] {
         const auto* other = others.find(key);
         return other != nullptr && *other == row;
      });
      if (alike && !committed) return;
      document.row({{"name", key.acl_name()},
                    {"type", orv::to_string(key.acl_type())},
                    {"state", stateText(alike, committed)},
                    {"counters", row.countersEnabled},
                    {"fragments", row.fragmentsEnabled}});
   });
}

void aclRules(Document& document, const AclMgr::Rules& rules, const AclMgr::Rules& others, bool committed) {
   forEachTableRow(rules, [&](const AclRuleKey& key, const AclRule& rule) {
      const bool alike = locked([&] {
         const auto* other = others.find(key);
         return other != nullptr && other->get() == rule;
      });
      if (alike && !committed) return;
      document.row({{"acl", key.acl.acl_name()},
                    {"type", orv::to_string(key.acl.acl_type())},
                    {"seq", key.seq},
                    {"state", stateText(alike, committed)},
                    {"rule", ruleText(rule)}});
   });
}

}  // namespace

void showAcl(SoftSwitch& target, Args& args, Document& document) {
   args.end();
   const auto& acls = target.acls();
   document.listing("acls", {{"ACL", "name", 24},
                             {"Type", "type", 5},
                             {"State", "state", 10},
                             {"Counters", "counters", 8},
                             {"Fragments", "fragments"}});
   aclLists(document, acls.committedLists(), acls.lists(), true);
   aclLists(document, acls.lists(), acls.committedLists(), false);
   document.listing("acl_rules", {{"ACL", "acl", 24},
                                  {"Type", "type", 5},
                                  {"Seq", "seq", 6},
                                  {"State", "state", 10},
                                  {"Rule", "rule"}});
   aclRules(document, acls.committedRules(), acls.rules(), true);
   aclRules(document, acls.rules(), acls.committedRules(), false);
   document.listing(
        "acl_applied",
        {{"Interface", "interface", 12}, {"Direction", "direction", 9}, {"Type", "type", 5}, {"ACL", "acl"}});
   forEachTableRow(acls.places(), [&](const AclPlace& place, const std::string& name) {
      document.row({{"interface", place.intf.to_string()},
                    {"direction", orv::to_string(place.direction)},
                    {"type", orv::to_string(place.type)},
                    {"acl", name}});
   });
}

void showClassMap(SoftSwitch& target, Args& args, Document& document) {
   args.end();
   document.listing("class_maps", {{"Class map", "name", 24}, {"Feature", "feature", 15}, {"ACLs", "acls"}});
   forEachTableRow(target.classMaps().maps(), [&](const orv::policy_map_key_t& key,
                                                  const orv::class_map_t& map) {
      Json acls = Json::array();
      for (const auto& [sequence, rule] : map.rules()) {
         if (document.form() == Form::table) {
            acls.push_back(fmt::format("{} {} {}", sequence, orv::to_string(rule.acl_key().acl_type()),
                                       rule.acl_key().acl_name()));
         } else {
            acls.push_back({{"seq", sequence},
                            {"acl", rule.acl_key().acl_name()},
                            {"type", orv::to_string(rule.acl_key().acl_type())}});
         }
      }
      document.row(
           {{"name", key.name()}, {"feature", orv::to_string(key.feature())}, {"acls", std::move(acls)}});
   });
}

void showPolicyMap(SoftSwitch& target, Args& args, Document& document) {
   args.end();
   const auto& policies = target.policyMaps();
   document.listing("policy_map_rules", {{"Policy map", "name", 24},
                                         {"Feature", "feature", 15},
                                         {"Seq", "seq", 6},
                                         {"Class map", "class_map", 24},
                                         {"Actions", "actions"}});
   forEachTableRow(
        policies.maps(),
        [&](const orv::policy_map_key_t& key, const orv::policy_map_t& map) {
           for (const auto& [sequence, rule] : map.rules()) {
              Json actions = Json::array();
              for (const auto& action : rule.actions())
                 actions.push_back(action.to_string());
              document.row({{"name", key.name()},
                            {"feature", orv::to_string(key.feature())},
                            {"seq", sequence},
                            {"class_map", rule.class_map_key().name()},
                            {"actions", std::move(actions)}});
           }
        },
        policiesPerSpan);
   document.listing("policy_maps", {{"Policy map", "name", 24},
                                    {"Feature", "feature", 15},
                                    {"Interface", "interface", 12},
                                    {"Direction", "direction", 9},
                                    {"Hardware", "hardware"}});
   for (const auto feature : features) {
      forEachRow([&] { return policies.policy_map_iter(feature); },
                 [&](const orv::policy_map_key_t& key) { return policies.hw_status(key); },
                 [&](const orv::policy_map_hw_statuses_t& statuses) {
                    Json row{{"name", statuses.key().name()},
                             {"feature", orv::to_string(statuses.key().feature())}};
                    if (statuses.intf_statuses().empty()) document.row(row);
                    for (const auto& [place, status] : statuses.intf_statuses()) {
                       row["interface"] = place.intf_id().to_string();
                       row["direction"] = orv::to_string(place.direction());
                       row["hardware"] = orv::to_string(status);
                       document.row(row);
                    }
                 });
   }
}

void showTrafficPolicy(SoftSwitch& target, Args& args, Document& document) {
   args.end();
   const auto& policies = target.policyMaps().trafficPolicies();
   document.listing("traffic_policies", {{"Traffic policy", "name", 24}, {"Counters", "counters"}});
   forEachRow([&] { return target.policyMaps().traffic_policy_iter(); },
              [&](const orv::policy_map_key_t& key) {
                 std::set<std::string> counters;
                 if (const auto* policy = policies.policies().find(key.name()))
                    counters.insert(policy->named_counters().begin(), policy->named_counters().end());
                 return std::pair(key.name(), std::move(counters));
              },
              [&](const auto& policy) {
                 document.row({{"name", policy.first}, {"counters", policy.second}});
              });
   document.listing("traffic_policy_rules", {{"Traffic policy", "name", 24},
                                             {"Seq", "seq", 6},
                                             {"Rule", "rule", 16},
                                             {"Type", "type", 5},
                                             {"Match", "match", 32},
                                             {"Actions", "actions"}});
   forEachTableRow(
        policies.policies(),
        [&](const std::string& name, const orv::traffic_policy_t& policy) {
           for (const auto& [sequence, rule] : policy.rules()) {
              Json actions = Json::array();
              for (const auto& action : rule.actions())
                 actions.push_back(actionText(action));
              document.row({{"name", name},
                            {"seq", sequence},
                            {"rule", rule.match_rule_name()},
                            {"type", orv::to_string(rule.traffic_policy_rule_type())},
                            {"match", matchText(rule.raw_rule())},
                            {"actions", std::move(actions)}});
           }
        },
        policiesPerSpan);
   document.listing(
        "traffic_policy_applied",
        {{"Interface", "interface", 12}, {"Direction", "direction", 9}, {"Traffic policy", "name"}});
   forEachTableRow(policies.places(), [&](const TrafficPolicyPlace& place, const std::string& name) {
      document.row({{"interface", place.intf.to_string()},
                    {"direction", orv::to_string(place.direction)},
                    {"name", name}});
   });
}

void showTrafficPolicyCounters(SoftSwitch& target, Args& args, Document& document) {
   args.end();
   document.listing("traffic_policy_counters", {{"Traffic policy", "name", 24},
                                                {"Seq", "seq", 6},
                                                {"Rule", "rule", 16},
                                                {"Packets", "packets", 12},
                                                {"Bytes", "bytes"}});
   const auto& policies = target.policyMaps().trafficPolicies().policies();
   const auto& counters = target.policyCounters();
   forEachTableRow(
        policies,
        [&](const std::string& name, const orv::traffic_policy_t& policy) {
           for (const auto& each : policy.rules()) {
              const std::string& rule = each.second.match_rule_name();
              const auto counted = locked([&] { return counters.counted(name, rule); });
              if (!counted) continue;
              document.row({{"name", name},
                            {"seq", each.first},
                            {"rule", rule},
                            {"packets", counted->packets},
                            {"bytes", counted->bytes}});
           }
        },
        policiesPerSpan);
}

}  // namespace softswitch::console
