#include "softswitch/managers/traffic_policy_status.h"

#include <utility>
#include <vector>

#include "platform/zelt/ActivityLock.h"

namespace softswitch {
namespace {

using orv::traffic_policy_action_type_t;

// Sorted, so that an unchanged rule has an unchanged row.
template <typename Values>
std::set<typename Values::value_type> inOrder(const Values& values) {
   return {values.begin(), values.end()};
}

Pbr::ClassMapStatus classOf(std::uint32_t sequence, const orv::traffic_policy_rule_t& rule) {
   Pbr::ClassMapStatus made{.sequence = sequence, .actions = {}};
   for (const auto& action : rule.actions()) {
      switch (action.action_type()) {
         case traffic_policy_action_type_t::drop:
            made.actions.emplace_back(Pbr::PbrDropAction{});
            break;
         case traffic_policy_action_type_t::nexthop: {
            Pbr::PbrNexthopAction way;
            for (const auto& hop : inOrder(action.nexthops())) {
               const auto bytes = hop.bytes();
               way.nexthops.emplace_back(bytes.begin(), bytes.end());
            }
            made.actions.emplace_back(std::move(way));
            break;
         }
         case traffic_policy_action_type_t::nexthop_group:
            for (const auto& group : inOrder(action.nexthop_groups()))
               made.actions.emplace_back(Pbr::PbrNexthopGroupAction{.nexthopGroupName = group});
            break;
         default:
            // The others do not decide the way, or have no number of the platform.
            break;
      }
   }
   return made;
}

}  // namespace

TrafficPolicyStatus::TrafficPolicyStatus(const Context& context, TrafficPolicies& policies)
     : Pavo::Task(context.scheduler, "traffic policies", Gorm::priorityNormal), policies_(policies) {
   policies_.onChange([this](const std::string& name) { changed(name); });
   policies_.policies().forEach([this](const std::string& name, const orv::traffic_policy_t&) {
      if (policies_.applied(name)) changed(name);
   });
}

TrafficPolicyStatus::~TrafficPolicyStatus() {
   policies_.onChange({});
}

void TrafficPolicyStatus::changed(const std::string& name) {
   if (pending_.empty()) scheduleTask();
   pending_.insert(name);
}

void TrafficPolicyStatus::taskExecute() {
   while (!pending_.empty()) {
      // Nobody may hear of a policy that can still be lost.
      Zelt::activityLock().settle();
      program(pending_.extract(pending_.begin()).value());
      taskWorkCountInc(1);
      if (taskShouldYield()) break;
   }
   taskWorkPendingIs(pending_.size());
   if (!pending_.empty()) scheduleTask();
}

void TrafficPolicyStatus::program(const std::string& name) {
   const auto* const policy = policies_.applied(name) ? policies_.policies().find(name) : nullptr;
   if (policy == nullptr) {
      table_->rowDel(name);
      return;
   }
   Pbr::PolicyMapStatus status;
   for (const auto& [sequence, rule] : policy->rules())
      status.classMapStatus.emplace(rule.match_rule_name(), classOf(sequence, rule));
   table_->rowIs(name, status);
}

}  // namespace softswitch
