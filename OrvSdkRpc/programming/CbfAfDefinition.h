// How the two ACLs of a redirect differ.
//
// Thread-safety: constants.
#pragma once

#include <cstdint>

#include "OrvSdkRpc/programming/CbfRedirectTable.h"
#include "orv/acl_types.h"
#include "orv/policy_key.h"

namespace OrvSdkRpc {

// An IPv4 rule matches the DSCP itself, an IPv6 rule the traffic class that contains it (RFC 2474).
struct CbfAfDefinition {
   orv::acl_type_t type;
   DscpValues CbfRedirectTable::SeqAndDscpValues::*values;
   const char* suffix;
   unsigned shift;
   std::uint8_t mask;

   [[nodiscard]] orv::acl_key_t listOf(const std::string& uniqueName) const {
      return {uniqueName + suffix, type};
   }
};

inline constexpr CbfAfDefinition cbfAfDefinitions[] = {
     {orv::acl_type_t::ipv4, &CbfRedirectTable::SeqAndDscpValues::ipv4, "_IPv4", 0, 0x3f},
     {orv::acl_type_t::ipv6, &CbfRedirectTable::SeqAndDscpValues::ipv6, "_IPv6", 2, 0xfc},
};

// Every redirect uses a policy map rule and a class map of this feature.
inline constexpr orv::policy_feature_t cbfFeature = orv::policy_feature_t::pbr;

}  // namespace OrvSdkRpc
