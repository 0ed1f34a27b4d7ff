// Reads redirects back from a switch that has them.
//
// What counts is what the switch has committed: lists that were edited and not committed, as a kill in the
// middle of a bulk leaves them, redirect nothing.
//
// Thread-safety: with the SDK's lock held, or on the SDK's main thread.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <utility>

#include "OrvSdkRpc/programming/CbfRedirectTable.h"
#include "orv/policy_map_types.h"

namespace orv {
class acl_key_t;
class acl_mgr;
class class_map_mgr;
}  // namespace orv

namespace OrvSdkRpc {

class CbfRedirectReader {
public:
   using Key = CbfRedirectTable::Key;
   using SeqAndDscpValues = CbfRedirectTable::SeqAndDscpValues;

   CbfRedirectReader(const orv::class_map_mgr& classMapMgr, const orv::acl_mgr& aclMgr)
        : classMapMgr_(classMapMgr), aclMgr_(aclMgr) {}

   // The redirect that a rule of the policy map stands for; none, traced, if it is not one of ours. Its epoch
   // is 0. Its lists are unsure where pending edits would change them. A list that is neither of IPv4 nor of
   // IPv6 ends the process. Lets orv::error pass.
   [[nodiscard]] std::optional<std::pair<Key, SeqAndDscpValues>> read(
        std::uint32_t sequence, const orv::policy_map_rule_t& rule) const;

private:
   bool readAclRules(std::uint32_t sequence, const orv::policy_map_key_t& classMapKey,
                     std::uint32_t classMapSequence, const orv::acl_key_t& aclKey, SeqAndDscpValues& values,
                     std::string& matchGroup) const;
   bool hasPendingEdits(const orv::acl_key_t& aclKey) const;

   const orv::class_map_mgr& classMapMgr_;
   const orv::acl_mgr& aclMgr_;
};

}  // namespace OrvSdkRpc
