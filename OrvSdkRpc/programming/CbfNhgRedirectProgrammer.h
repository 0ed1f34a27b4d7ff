// Class-based forwarding: redirects traffic with certain DSCPs from one next-hop group to another.
//
// Thread-safety: requests and resync run on the pump thread, removal in a task on the SDK's main thread. The
// SDK's lock guards everything here. Constructed and destroyed on the SDK's main thread, or with its lock
// held.
//
// A redirect has four layers in the switch: two ACLs, one per address family, that match the group and the
// DSCPs; a class map of the two; a rule in the policy map that init names, whose action is the other group;
// and, if the platform has one, an entry in the override table. A removal takes effect after a second, so
// that a redirect that comes back soon costs no policy change, and many removals share one.
//
// CbfRedirectTable.h keeps what is wanted and how much of it is in the switch. A request changes what is
// wanted. The difference determines what has to be written, committed or pushed.
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

   // `cbfNhgMgr` is null if the platform has no override table.
   CbfNhgRedirectProgrammer(const ClientInit& client, orv::policy_map_mgr* policyMapMgr,
                            orv::class_map_mgr* classMapMgr, orv::acl_mgr* aclMgr, orv::agent_mgr* agentMgr,
                            CbfNhgMgr* cbfNhgMgr);
   ~CbfNhgRedirectProgrammer();

   // Sets the policy map's name and reads back its redirects. Removes rules that are not redirects.
   //
   // A change of name leaves the old policy map first: due removals are carried out, its other redirects are
   // forgotten but stay in the switch, and their entries in the override table are deleted.
   //
   // RETURNS: true if the name is unchanged, or if the policy map exists and lastSequence() is not 0.
   // THROWS: orv::error from the SDK.
   bool cbrPolicyMapNameIs(const std::string& name);

   void processCbfNhgRedirectRequest(const pb::cbf_nexthop_group_redirect_msg& request,
                                     pb::rpc_status_msg& response);
   void processCbfNhgRedirectBulkRequest(const pb::cbf_nexthop_group_redirect_bulk_msg& request,
                                         pb::rpc_status_bulk_msg& response);

   // Starts a new epoch: a redirect that is not programmed again before the end is stale.
   void resyncStart();
   // Schedules the removal of the stale redirects.
   void resyncEnd();

   // Removes the due redirects with one push of the policy map and one commit. If the SDK refuses, tries
   // again a second later.
   // RETURNS: the number of redirects removed.
   std::size_t processRemove();

   [[nodiscard]] std::uint8_t epoch() const { return epoch_; }
   [[nodiscard]] const CbfRedirectTable::Redirects& redirects() const { return table_.redirects(); }
   // Highest rule sequence so far.
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
   void pushOrTakeBack();
   void pushRemovals();
   [[nodiscard]] orv::policy_map_t withoutUnpushed() const;
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
   // ACLs whose commit has failed since the last request checked, as the SDK names them.
   absl::flat_hash_set<std::string> failedCommits_;
   // Empty if redirects are not in use.
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
