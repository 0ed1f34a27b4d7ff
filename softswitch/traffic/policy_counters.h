// Counters of the rules of traffic policies: the mounted table of them (platform/state/PbrCounters.h), of
// which this is the only writer.
//
// A rule has a row while hardware has the rule's policy (managers/traffic_policy_status.h) and the policy has
// the rule; a rule is known by its name and its sequence number. A new row counts from zero. The row of a
// rule whose actions change keeps its counts and gets the time of the change. The key of a row has the
// policy, the rule's name as the class, and the sequence number as the rule.
//
// The switch moves no packets itself: an operator says what a rule has counted. Nothing here survives a
// restart.
//
// Refusals (orv::invalid_argument_error, naming the value): counting for a rule that hardware does not have.
//
// Thread-safety: guarded by the SDK's lock.
#pragma once

#include <cstdint>
#include <functional>
#include <optional>
#include <string>

#include "platform/state/PbrCounters.h"
#include "platform/state/PbrStatus.h"
#include "platform/tessel/SharedMem.h"
#include "platform/zelt/Clock.h"
#include "softswitch/managers/context.h"

namespace softswitch {

class MountMgr;
class PolicyMapMgr;

class PolicyCounters final {
public:
   // Nanoseconds of a monotonic clock.
   using Now = std::function<std::int64_t()>;

   // THROWS: std::runtime_error if the table has a writer already.
   PolicyCounters(const Context& context, const MountMgr& mounts, const PolicyMapMgr& policies,
                  Now now = Zelt::Clock::steadyNanos);
   PolicyCounters(const PolicyCounters&) = delete;
   PolicyCounters& operator=(const PolicyCounters&) = delete;

   struct Amount {
      std::uint64_t packets = 0;
      std::uint64_t bytes = 0;
   };
   // Counts as if the packets had met the rule.
   void count(const std::string& policy, const std::string& rule, Amount amount);
   // RETURNS: what the rule has counted; nothing if hardware does not have it.
   std::optional<Amount> counted(const std::string& policy, const std::string& rule) const;

private:
   static PbrCountersKey keyOf(const std::string& policy, const std::string& rule,
                               const Pbr::ClassMapStatus& status);
   void follow(const std::string& policy, const std::optional<Pbr::PolicyMapStatus>& before);
   void stamp(const PbrCountersKey& key, const Pbr::CounterStatus& counted);

   const Now now_;
   const Pavo::Ptr<const Pbr::Status> status_;
   const Pavo::Ptr<Pbr::CounterTable> table_ =
        Pavo::makePtr<Pbr::CounterTable>(std::string(Pbr::counterPath));
   Tessel::Mount mount_;
   Pbr::Status::Reaction reaction_;
};

}  // namespace softswitch
