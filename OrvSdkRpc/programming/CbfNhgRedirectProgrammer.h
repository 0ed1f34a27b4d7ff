// Class-based forwarding: traffic for one next-hop group that carries certain DSCPs leaves through another
// group.
//
// Thread-safety: pump thread only.
//
// A redirect is a rule of one policy map, which init names. This build reads redirects back from the switch
// and keeps their resync epoch; it changes none: every request is answered with RPC_STATUS_ERROR and words
// that say so, and a resync removes nothing, since what cannot be replayed cannot be told from what is stale.
#pragma once

#include <absl/container/flat_hash_map.h>

#include <compare>
#include <cstdint>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "OrvSdkRpc/programming/DscpValues.h"
#include "OrvSdkRpcProtos/orvsdk.pb.h"
#include "orv/policy_key.h"
#include "orv/policy_map_types.h"

namespace orv {
class acl_key_t;
class acl_mgr;
class agent_mgr;
class class_map_mgr;
class policy_map_mgr;
}  // namespace orv

namespace OrvSdkRpc {

class ClientInit;

class CbfNhgRedirectProgrammer {
public:
   // Identity of a redirect.
   struct Key {
      std::string match;
      std::string redirect;

      auto operator<=>(const Key&) const = default;
      template <class H>
      friend H AbslHashValue(H h, const Key& key) {
         return H::combine(std::move(h), key.match, key.redirect);
      }
   };

   struct SeqAndDscpValues {
      // Of the rule in the policy map.
      std::uint32_t sequence = 0;
      // Resync generation at which the redirect was last programmed.
      std::uint8_t epoch = 0;
      DscpValues ipv4;
      DscpValues ipv6;
   };

   CbfNhgRedirectProgrammer(const ClientInit& client, orv::policy_map_mgr* policyMapMgr,
                            orv::class_map_mgr* classMapMgr, orv::acl_mgr* aclMgr, orv::agent_mgr* agentMgr)
        : client_(client),
          policyMapMgr_(policyMapMgr),
          classMapMgr_(classMapMgr),
          aclMgr_(aclMgr),
          agentMgr_(agentMgr) {}

   // Takes the policy map's name and reads back the redirects that it holds; a rule that is none is removed.
   // True when redirects are there, and when the name is the one already known. Lets orv::error pass.
   bool cbrPolicyMapNameIs(const std::string& name);

   void processCbfNhgRedirectRequest(const pb::cbf_nexthop_group_redirect_msg& request,
                                     pb::rpc_status_msg& response);
   void processCbfNhgRedirectBulkRequest(const pb::cbf_nexthop_group_redirect_bulk_msg& request,
                                         pb::rpc_status_bulk_msg& response);

   // A new epoch begins.
   void resyncStart();
   void resyncEnd();

   [[nodiscard]] std::uint8_t epoch() const { return epoch_; }
   [[nodiscard]] const absl::flat_hash_map<Key, SeqAndDscpValues>& redirects() const { return redirects_; }
   // Highest sequence of the policy map.
   [[nodiscard]] std::uint32_t lastSequence() const { return lastSequence_; }

private:
   std::optional<std::pair<Key, SeqAndDscpValues>> readRule(std::uint32_t sequence,
                                                            const orv::policy_map_rule_t& rule) const;
   bool readAclRules(std::uint32_t sequence, const orv::policy_map_key_t& classMapKey,
                     std::uint32_t classMapSequence, const orv::acl_key_t& aclKey, SeqAndDscpValues& values,
                     std::string& matchGroup) const;
   void removeBadRules(const std::vector<std::uint32_t>& sequences);

   absl::flat_hash_map<Key, SeqAndDscpValues> redirects_;
   std::uint32_t lastSequence_ = 0;
   // Wraps at 256.
   std::uint8_t epoch_ = 0;
   // Empty: redirects are not in use.
   std::string policyMapName_;
   orv::policy_map_key_t policyMapKey_;
   // Local copy: changed here, then pushed as a whole.
   orv::policy_map_t policyMap_;
   const ClientInit& client_;
   orv::policy_map_mgr* const policyMapMgr_;
   orv::class_map_mgr* const classMapMgr_;
   orv::acl_mgr* const aclMgr_;
   orv::agent_mgr* const agentMgr_;
};

}  // namespace OrvSdkRpc
