// Class-based forwarding: which traffic for a next-hop group leaves through another group.
//
// Two layers decide. First come the rules of policy maps of feature pbr whose class matches on a next-hop
// group, in the order of map names and rule sequence numbers: the first rule that takes the packet decides,
// by the committed rules of its lists. Then comes the override table, if an agent has mounted it. The table
// does not know address families, so it is ignored for a pair of groups that a policy map also has.
//
// Such a rule covers all traffic that would leave through its group, whatever interfaces the map is applied
// to. Rules that match on other fields are policy routing, which this switch stores but does not resolve.
//
// Thread-safety: guarded by the SDK's lock.
#pragma once

#include <cstdint>
#include <optional>
#include <string>

#include "orv/ip_addr.h"
#include "orv/policy_map_types.h"
#include "platform/state/CbfNhgOverride.h"

namespace softswitch {

class AclMgr;
class ClassMapMgr;
class PolicyMapMgr;

struct Redirect {
   std::string group;  // the group to which traffic is redirected
   std::string by;     // the source of the redirect, as text
};

class Redirects {
public:
   using Overrides = Pavo::Ptr<CbfNhgExt::CbfNhgOverrideConfig>;

   // `overrides` is null if no agent has mounted the table.
   Redirects(const PolicyMapMgr& policyMaps, const ClassMapMgr& classMaps, const AclMgr& acls,
             Overrides overrides);

   // RETURNS: the redirect of a packet that would leave through `group`. A null destination leaves the
   // packet's family unknown; lists of both families then count.
   std::optional<Redirect> find(const std::string& group, std::uint8_t dscp,
                                const orv::ip_addr_t& destination) const;

private:
   const PolicyMapMgr& policyMaps_;
   const ClassMapMgr& classMaps_;
   const AclMgr& acls_;
   const Overrides overrides_;
};

}  // namespace softswitch
