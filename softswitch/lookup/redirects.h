// Class-based forwarding: which traffic for a next-hop group leaves through another group instead.
//
// Two layers tell it. The rules of policy maps of feature pbr whose class matches on a next-hop group, in the
// order of the maps' names and the rules' sequence numbers: the first that takes the packet decides, and what
// its lists have committed counts. Behind them the override table, where an agent has mounted it. The table
// does not know families of addresses, so a pair of groups that a policy map has too is left to that map.
//
// Such a rule is about all traffic that would leave through its group, on whatever interfaces the map is
// applied. Rules that match on other things are policy routing, which this switch keeps and does not resolve.
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
   std::string group;  // to which traffic is redirected
   std::string by;     // what says so, in words
};

class Redirects {
public:
   using Overrides = Pavo::Ptr<CbfNhgExt::CbfNhgOverrideConfig>;

   // `overrides` is null where nobody has mounted the table.
   Redirects(const PolicyMapMgr& policyMaps, const ClassMapMgr& classMaps, const AclMgr& acls,
             Overrides overrides);

   // Of a packet that would leave through `group`. With a null destination the family of the packet is not
   // known, and lists of both families count.
   std::optional<Redirect> find(const std::string& group, std::uint8_t dscp,
                                const orv::ip_addr_t& destination) const;

private:
   const PolicyMapMgr& policyMaps_;
   const ClassMapMgr& classMaps_;
   const AclMgr& acls_;
   const Overrides overrides_;
};

}  // namespace softswitch
