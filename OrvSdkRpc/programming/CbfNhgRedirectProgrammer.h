// Class-based forwarding: traffic for one next-hop group that carries certain DSCPs leaves through another
// group.
//
// Thread-safety: requests and resync on the pump thread, removal in a task of the SDK's main thread; the
// SDK's lock guards all that is here. Made and destroyed on the SDK's main thread, or with its lock held.
//
// A redirect stands in the switch in four layers: two ACLs, one for each address family, that match the group
// and the DSCPs; a class map of the two; a rule of the one policy map that init names, whose action is the
// other group; and, where the platform has it, an entry of the override table. A redirect is removed a second
// after it was to go, so that one that comes back soon costs no policy change, and many go as one.
#pragma once

#include <absl/container/flat_hash_map.h>
#include <absl/container/flat_hash_set.h>

#include <compare>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "OrvSdkRpc/programming/DscpValues.h"
#include "OrvSdkRpcProtos/orvsdk.pb.h"
#include "cbfnhgext/CbfNhgOverride.h"
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

class CbfNhgMgr;
class ClientInit;

// A name for the pair that reads short where the names are related: what they share stands once, if it ends
// in a separator.
std::string getCbfUniqueName(std::string_view match, std::string_view redirect);

class CbfNhgRedirectProgrammer {
public:
   // Identity of a redirect.
   struct Key {
      std::string match;
      std::string redirect;

      // Of the class map, and the stem of the ACLs' names.
      [[nodiscard]] std::string uniqueName() const { return getCbfUniqueName(match, redirect); }

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
      // A call of the SDK was refused on the way, so a layer may be missing: the next add writes all of them.
      bool unfinished = false;
   };

   // `cbfNhgMgr` is null where the platform has no override table.
   CbfNhgRedirectProgrammer(const ClientInit& client, orv::policy_map_mgr* policyMapMgr,
                            orv::class_map_mgr* classMapMgr, orv::acl_mgr* aclMgr, orv::agent_mgr* agentMgr,
                            CbfNhgMgr* cbfNhgMgr);
   ~CbfNhgRedirectProgrammer();

   // Takes the policy map's name and reads back the redirects that it holds; a rule that is none is removed.
   // True when redirects are there, and when the name is the one already known. Lets orv::error pass.
   bool cbrPolicyMapNameIs(const std::string& name);

   void processCbfNhgRedirectRequest(const pb::cbf_nexthop_group_redirect_msg& request,
                                     pb::rpc_status_msg& response);
   void processCbfNhgRedirectBulkRequest(const pb::cbf_nexthop_group_redirect_bulk_msg& request,
                                         pb::rpc_status_bulk_msg& response);

   // A new epoch begins: a redirect that is not programmed again before the end is stale.
   void resyncStart();
   // Schedules the removal of the stale ones.
   void resyncEnd();

   // Removes what is due, in one push of the policy map and one commit. Returns how many. What the SDK
   // refuses is tried again a second later.
   std::size_t processRemove();

   [[nodiscard]] std::uint8_t epoch() const { return epoch_; }
   [[nodiscard]] const absl::flat_hash_map<Key, SeqAndDscpValues>& redirects() const { return redirects_; }
   // Highest sequence of the policy map.
   [[nodiscard]] std::uint32_t lastSequence() const { return lastSequence_; }

private:
   class RemoveTask;
   struct AfDefinition;
   static const AfDefinition afDefinitions[];

   void processCbfNhgRedirectRequestInternal(const pb::cbf_nexthop_group_redirect_msg& request,
                                             pb::rpc_status_msg& response, bool commit);
   int work(const pb::cbf_nexthop_group_redirect_msg& request, std::string& errorText, bool commit);
   int addRedirect(const pb::cbf_nexthop_group_redirect_msg& request, std::string& errorText, bool commit);
   int removeRedirect(const pb::cbf_nexthop_group_redirect_msg& request);
   void scheduleRemoveRedirect(const Key& key);
   void takeOut(const Key& key);
   void addAcl(const AfDefinition& af, const std::string& name, const Key& key, const DscpValues& dscpValues,
               bool update);
   void removeAcl(const AfDefinition& af, const std::string& name);
   static CbfNhgExt::CbfNhgOverrideKey cbfNhgOverrideKey(const Key& key);
   static CbfNhgExt::CbfNhgOverrideEntry cbfNhgOverrideEntry(const Key& key, const DscpValues& ipv4,
                                                             const DscpValues& ipv6);

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
   const std::unique_ptr<RemoveTask> removeTask_;
   // Due to go at the next run of the task.
   absl::flat_hash_set<Key> pendingRemoval_;
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
   CbfNhgMgr* const cbfNhgMgr_;
};

}  // namespace OrvSdkRpc
