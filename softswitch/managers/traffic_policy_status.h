// The state table of the traffic policies in hardware (platform/state/PbrStatus.h), of which this is the only
// writer.
//
// Hardware is a second stage: the main loop hands over each policy after a change, in its latest form. A
// policy is in hardware while it exists and is applied to an interface. Each of its rules is a class, named
// after the match rule. The table has what a rule does with a packet's way: drop, nexthops and nexthop
// groups; of several groups one action each, in the order of their names.
//
// Thread-safety: guarded by the SDK's lock; rows change on the main loop only.
#pragma once

#include <set>
#include <string>

#include "orv/traffic_policy_types.h"
#include "platform/gorm/PavoTask.h"
#include "platform/state/PbrStatus.h"
#include "softswitch/managers/context.h"
#include "softswitch/managers/traffic_policies.h"

namespace softswitch {

class TrafficPolicyStatus final : public Pavo::Task {
public:
   // Hardware starts empty, so every applied policy is handed over.
   TrafficPolicyStatus(const Context& context, TrafficPolicies& policies);
   ~TrafficPolicyStatus() override;

   const Pavo::Ptr<Pbr::Status>& table() const { return table_; }

protected:
   void taskExecute() override;

private:
   void changed(const std::string& name);
   void program(const std::string& name);

   TrafficPolicies& policies_;
   const Pavo::Ptr<Pbr::Status> table_ = Pavo::makePtr<Pbr::Status>("traffic policies in hardware");
   std::set<std::string> pending_;
};

}  // namespace softswitch
