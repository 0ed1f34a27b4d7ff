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
//
// What is wanted and how much of it stands in the switch is known in one place (CbfRedirectTable.h). A
// request changes what is wanted, and what it then has to write, commit or push follows from the difference.
#pragma once

#include <absl/container/flat_hash_set.h>

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "OrvSdkRpc/programming/CbfRedirectTable.h"
#include "OrvSdkRpc/programming/DscpValues.h"
#include "OrvSdkRpcProtos/orvsdk.pb.h"
#include "orv/policy_key.h"
#include "orv/policy_map_types.h"
#include "platform/state/CbfNhgOverride.h"

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

struct CbfAfDefinition;

class CbfNhgRedirectProgrammer {
public:
   using Key = CbfRedirectTable::Key;
   using SeqAndDscpValues = CbfRedirectTable::SeqAndDscpValues;

   // `cbfNhgMgr` is null where the platform has no override table.
   CbfNhgRedirectProgrammer(const ClientInit& client, orv::policy_map_mgr* policyMapMgr,
                            orv::class_map_mgr* classMapMgr, orv::acl_mgr* aclMgr, orv::agent_mgr* agentMgr,
                            CbfNhgMgr* cbfNhgMgr);
   ~CbfNhgRedirectProgrammer();

   // Takes the policy map's name and reads back the redirects that it holds; a rule that is none is removed.
   // True when redirects are there, and when the name is the one already known. Lets orv::error pass.
   //
   // A server that has another name lets go of that policy map first: removals that are due are carried out,
   // and its redirects, which stay in the switch, are forgotten together with their entries of the override
   // table.
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
   [[nodiscard]] const CbfRedirectTable::Redirects& redirects() const { return table_.redirects(); }
   // Highest sequence of the policy map.
   [[nodiscard]] std::uint32_t lastSequence() const { return table_.lastSequence(); }

private:
   class RemoveTask;
   class CommitWatch;
   using Redirect = CbfRedirectTable::Redirect;

   void processCbfNhgRedirectRequestInternal(const pb::cbf_nexthop_group_redirect_msg& request,
                                             pb::rpc_status_msg& response, bool commit);
   int work(const pb::cbf_nexthop_group_redirect_msg& request, std::string& errorText, bool commit);
   int addRedirect(const Key& key, DscpValues ipv4, DscpValues ipv6, bool commit);
   int removeRedirect(const Key& key);
   void scheduleRemoveRedirect(Redirect& redirect);
   void takeOut(Redirect& redirect);
   void leavePolicyMap();
   void commitAcls();
   void pushPolicyMap();
   void takeFailedCommits();
   void addAcl(const CbfAfDefinition& af, const std::string& name, const Key& key,
               const DscpValues& dscpValues);
   void removeAcl(const CbfAfDefinition& af, const std::string& name);
   void removeOverride(const Key& key);
   static CbfNhgExt::CbfNhgOverrideKey cbfNhgOverrideKey(const Key& key);
   static CbfNhgExt::CbfNhgOverrideEntry cbfNhgOverrideEntry(const Key& key, const DscpValues& ipv4,
                                                             const DscpValues& ipv6);

   void removeBadRules(const std::vector<std::uint32_t>& sequences);

   CbfRedirectTable table_;
   // Wraps at 256.
   std::uint8_t epoch_ = 0;
   const std::unique_ptr<RemoveTask> removeTask_;
   const std::unique_ptr<CommitWatch> commitWatch_;
   // ACLs that could not follow a commit, as the SDK words them, since a request last looked.
   absl::flat_hash_set<std::string> failedCommits_;
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
