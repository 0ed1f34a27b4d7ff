#include "softswitch/traffic/policy_counters.h"

#include <fmt/format.h>

#include <utility>

#include "orv/error.h"
#include "softswitch/managers/mount_mgr.h"
#include "softswitch/managers/policy_map_mgr.h"

namespace softswitch {

PolicyCounters::PolicyCounters(const Context& context, const MountMgr& mounts, const PolicyMapMgr& policies,
                               Now now)
     : now_(std::move(now)),
       status_(policies.pbr_status()),
       mount_(mounts.shared()->mount(std::string(Pbr::counterPath), Tessel::MountMode::write)),
       reaction_(status_->changeReactorIs(
            [this](const std::string& policy, const std::optional<Pbr::PolicyMapStatus>& before) {
               follow(policy, before);
            },
            context.scheduler)) {
   mount_.entityIs(table_);
}

void PolicyCounters::count(const std::string& policy, const std::string& rule, Amount amount) {
   orv::sdk_lock_check();
   const auto* const status = status_->classMapStatus(policy, rule);
   // The status may be ahead of the rows, and only follow() makes a row: it removes those that it has made.
   if (status == nullptr || !table_->contains(keyOf(policy, rule, *status))) {
      throw orv::invalid_argument_error(fmt::format("hardware has no traffic policy '{}' with a rule '{}'",
                                                    orv::detail::quotable(policy),
                                                    orv::detail::quotable(rule)));
   }
   const auto key = keyOf(policy, rule, *status);
   auto counted = *table_->row(key);
   counted.packets += amount.packets;
   counted.bytes += amount.bytes;
   stamp(key, counted);
}

std::optional<PolicyCounters::Amount> PolicyCounters::counted(const std::string& policy,
                                                              const std::string& rule) const {
   orv::sdk_lock_check();
   const auto* const status = status_->classMapStatus(policy, rule);
   if (status == nullptr) return std::nullopt;
   const auto row = table_->row(keyOf(policy, rule, *status));
   if (!row) return std::nullopt;
   return Amount{.packets = row->packets, .bytes = row->bytes};
}

PbrCountersKey PolicyCounters::keyOf(const std::string& policy, const std::string& rule,
                                     const Pbr::ClassMapStatus& status) {
   return {.policyName = policy,
           .sliceName = {},
           .className = rule,
           .ruleName = fmt::format("{}", status.sequence)};
}

// `before` is the policy as it was when it was last followed.
void PolicyCounters::follow(const std::string& policy, const std::optional<Pbr::PolicyMapStatus>& before) {
   const Pbr::PolicyMapStatus none;
   const auto& old = before ? before->classMapStatus : none.classMapStatus;
   const auto* const row = status_->find(policy);
   const auto& now = row == nullptr ? none.classMapStatus : row->classMapStatus;
   for (const auto& [rule, status] : old) {
      const auto it = now.find(rule);
      if (it == now.end() || it->second.sequence != status.sequence)
         table_->rowDel(keyOf(policy, rule, status));
   }
   for (const auto& [rule, status] : now) {
      const auto it = old.find(rule);
      if (it != old.end() && it->second == status) continue;
      const auto key = keyOf(policy, rule, status);
      stamp(key, table_->row(key).value_or(Pbr::CounterStatus()));
   }
}

void PolicyCounters::stamp(const PbrCountersKey& key, const Pbr::CounterStatus& counted) {
   auto row = counted;
   row.time = Zelt::Clock::seconds(now_());
   table_->rowIs(key, row);
}

}  // namespace softswitch
