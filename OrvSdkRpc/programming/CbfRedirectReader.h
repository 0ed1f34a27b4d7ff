// Reads existing redirects back from a switch.
//
// Only committed rules count: uncommitted edits, as a kill in the middle of a bulk leaves them, redirect
// nothing.
//
// Thread-safety: call with the SDK's lock held or on the SDK's main thread.
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

   // RETURNS: the redirect that the policy map rule stands for, with epoch 0. Its lists are unsure if they
   // have pending edits. Empty, with a trace, if the rule is not one of ours.
   // THROWS: orv::error from the SDK. An ACL that is neither IPv4 nor IPv6 ends the process.
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
