#include "PolicySource.h"

#include <string>

#include "orv/lock.h"
#include "orv/traffic_policy_types.h"
#include "platform/tessel/SharedMem.h"
#include "platform/zelt/Clock.h"
#include "softswitch/managers/mount_mgr.h"

namespace bench {

PolicySource::PolicySource(const Pavo::Ptr<Gorm::TaskScheduler>& scheduler, softswitch::SoftSwitch& sdk,
                           OrvSdkRpc::PolicyMapCountersService& service, std::size_t rules)
     : BulkSource(scheduler, "policy source", rules),
       service_(service),
       table_(sdk.mounts().shared()->entity<Pbr::CounterTable>(Pbr::counterPath)) {
   const std::string policyName = "bench-policy";
   orv::traffic_policy_t policy(policyName);
   for (std::uint32_t sequence = 1; sequence <= rules; ++sequence) {
      const std::string ruleName = "rule-" + std::to_string(sequence);
      orv::traffic_policy_rule_t rule(orv::traffic_policy_rule_type_t::ipv4, ruleName);
      rule.action_set(orv::traffic_policy_action_t(orv::traffic_policy_action_type_t::drop));
      policy.rule_set(sequence, rule);
      keys_.push_back({.policyName = policyName,
                       .sliceName = {},
                       .className = ruleName,
                       .ruleName = std::to_string(sequence)});
   }
   const orv::sdk_scoped_lock lock;
   orv::policy_map_mgr& manager = *sdk.get_policy_map_mgr();
   manager.traffic_policy_is(policy);
   manager.traffic_policy_apply(policyName, orv::intf_id_t("Ethernet1"), orv::traffic_policy_direction_t::in,
                                true);
}

void PolicySource::publish(std::uint64_t n) {
   table_->rowIs(
        keys_[n % keys_.size()],
        {.packets = n + 1, .bytes = 100 * (n + 1), .time = Zelt::Clock::seconds(Zelt::Clock::steadyNanos())});
}

}  // namespace bench
