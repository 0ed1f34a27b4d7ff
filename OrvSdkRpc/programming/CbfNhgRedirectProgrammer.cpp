#include "OrvSdkRpc/programming/CbfNhgRedirectProgrammer.h"

#include <algorithm>
#include <iterator>
#include <utility>

#include "OrvSdkRpc/programming/CbfAfDefinition.h"
#include "OrvSdkRpc/programming/CbfNhgMgr.h"
#include "OrvSdkRpc/programming/CbfRedirectReader.h"
#include "OrvSdkRpc/programming/Reply.h"
#include "orv/acl.h"
#include "orv/agent.h"
#include "orv/class_map.h"
#include "orv/lock.h"
#include "orv/policy_map.h"
#include "platform/gorm/PavoTask.h"
#include "platform/gorm/TaskScheduler.h"

namespace OrvSdkRpc {
namespace {

using Layer = CbfRedirectTable::Layer;

const std::string statusName = "OrvSdkRpc-cbfNexthopGroupRedirectPolicyMapName";

constexpr Gorm::Priority removePriority = 4;
constexpr std::int64_t removeDelayNanos = 1'000'000'000;
constexpr std::uint32_t dscpMax = 63;

// RETURNS: the first invalid DSCP, or null.
template <class Values>
const std::uint32_t* invalidDscp(const Values& values) {
   const auto found = std::find_if(values.begin(), values.end(), [](std::uint32_t v) { return v > dscpMax; });
   return found == values.end() ? nullptr : &*found;
}

CbfNhgRedirectProgrammer::Key keyOf(const pb::cbf_nexthop_group_redirect_msg& request) {
   return {request.match_nexthop_group_name(), request.redirect_nexthop_group_name()};
}

orv::acl_rule_ip_t aclRule(const CbfAfDefinition& af, const std::string& matchGroup, std::uint8_t dscp) {
   orv::acl_rule_ip_t rule;
   rule.action_is(orv::acl_action_t::permit);
   rule.nexthop_group_is(matchGroup);
   rule.priority_mask_is(af.mask);
   rule.priority_value_is(static_cast<std::uint8_t>(dscp << af.shift));
   rule.match_ip_priority_is(true);
   return rule;
}

// True if the names fit into the override table. A redirect with longer names can exist: it was programmed
// while the platform had no such table.
bool fitsOverrideTable(const CbfNhgRedirectProgrammer::Key& key) {
   constexpr std::size_t most = NexthopGroup::NexthopGroupEntryKey::maxNameBytes;
   return key.match.size() <= most && key.redirect.size() <= most;
}

}  // namespace

class CbfNhgRedirectProgrammer::RemoveTask final : public Pavo::TimerTask {
public:
   explicit RemoveTask(CbfNhgRedirectProgrammer& programmer)
        : TimerTask(Gorm::TaskSchedulerRoot::findOrCreateScheduler(), "PolicyMapRemove", removePriority),
          programmer_(programmer) {}

private:
   void taskExecute() override { taskWorkCountInc(programmer_.processRemove()); }

   CbfNhgRedirectProgrammer& programmer_;
};

// Records the ACLs whose commit failed.
class CbfNhgRedirectProgrammer::CommitWatch final : public orv::acl_handler {
public:
   CommitWatch(CbfNhgRedirectProgrammer& programmer, orv::acl_mgr* mgr)
        : acl_handler(mgr), programmer_(programmer) {
      watch_all_acls(true);
   }
   void on_acl_sync_fail(const std::string& source, const std::string&) override {
      // The next request checks whether the ACL belongs to a redirect: many may fail together.
      const bool mayBeOurs = std::any_of(
           std::begin(cbfAfDefinitions), std::end(cbfAfDefinitions),
           [&](const CbfAfDefinition& af) { return source.find(af.suffix) != std::string::npos; });
      if (mayBeOurs) programmer_.failedCommits_.insert(source);
   }

private:
   CbfNhgRedirectProgrammer& programmer_;
};

CbfNhgRedirectProgrammer::CbfNhgRedirectProgrammer(const ClientInit& client,
                                                   orv::policy_map_mgr* policyMapMgr,
                                                   orv::class_map_mgr* classMapMgr, orv::acl_mgr* aclMgr,
                                                   orv::agent_mgr* agentMgr, CbfNhgMgr* cbfNhgMgr)
     : removeTask_(std::make_unique<RemoveTask>(*this)),
       commitWatch_(std::make_unique<CommitWatch>(*this, aclMgr)),
       client_(client),
       policyMapMgr_(policyMapMgr),
       classMapMgr_(classMapMgr),
       aclMgr_(aclMgr),
       agentMgr_(agentMgr),
       cbfNhgMgr_(cbfNhgMgr) {}

CbfNhgRedirectProgrammer::~CbfNhgRedirectProgrammer() = default;

bool CbfNhgRedirectProgrammer::cbrPolicyMapNameIs(const std::string& name) {
   if (name == policyMapName_) return true;
   orv::sdk_scoped_lock lock;
   leavePolicyMap();
   policyMapName_ = name;
   policyMapKey_ = orv::policy_map_key_t(name, cbfFeature);
   const bool exists = policyMapMgr_->exists(policyMapKey_);
   policyMap_ = exists ? policyMapMgr_->policy_map(policyMapKey_) : orv::policy_map_t(policyMapKey_);
   static_cast<void>(agentMgr_->status(statusName));
   agentMgr_->status_set(statusName, name);
   if (!exists) return false;
   const CbfRedirectReader reader(*classMapMgr_, *aclMgr_);
   std::vector<std::uint32_t> bad;
   for (const auto& [sequence, rule] : policyMap_.rules()) {
      table_.sequenceTaken(sequence);
      if (auto redirect = reader.read(sequence, rule)) {
         auto& [key, values] = *redirect;
         values.epoch = epoch_;
         orv::fmttrace(programmingTracer(), 7,
                       "Restored policy-map seq {} nexthop-group {} -> {} IPv4 DSCP {} IPv6 DSCP {}",
                       sequence, key.match, key.redirect, values.ipv4, values.ipv6);
         table_.restore(std::move(key), std::move(values));
      } else {
         bad.push_back(sequence);
      }
   }
   removeBadRules(bad);
   return table_.lastSequence() != 0;
}

// Forgets the current policy map and its redirects.
void CbfNhgRedirectProgrammer::leavePolicyMap() {
   // A second later, due removals would look for their rules in another policy map.
   processRemove();
   for (const auto& [key, values] : table_.redirects())
      removeOverride(key);
   table_.clear();
}

// Does not push the policy map: the SDK learns of the removed rules with the next push.
void CbfNhgRedirectProgrammer::removeBadRules(const std::vector<std::uint32_t>& sequences) {
   for (const std::uint32_t sequence : sequences) {
      const orv::policy_map_key_t classMapKey = policyMap_.rules().at(sequence).class_map_key();
      policyMap_.rule_del(sequence);
      if (!classMapMgr_->exists(classMapKey)) continue;
      const orv::class_map_t classMap = classMapMgr_->class_map(classMapKey);
      classMapMgr_->class_map_del(classMapKey);
      for (const auto& [classMapSequence, rule] : classMap.rules()) {
         if (aclMgr_->acl_exists(rule.acl_key())) aclMgr_->acl_del(rule.acl_key());
      }
   }
   if (!sequences.empty()) aclMgr_->acl_commit();
}

void CbfNhgRedirectProgrammer::processCbfNhgRedirectRequest(const pb::cbf_nexthop_group_redirect_msg& request,
                                                            pb::rpc_status_msg& response) {
   processCbfNhgRedirectRequestInternal(request, response, true);
}

// One commit for all items, even if there are no items or all have failed.
void CbfNhgRedirectProgrammer::processCbfNhgRedirectBulkRequest(
     const pb::cbf_nexthop_group_redirect_bulk_msg& request, pb::rpc_status_bulk_msg& response) {
   serveBulk(request, response, [this](const auto& item, auto& status) {
      processCbfNhgRedirectRequestInternal(item, status, false);
   });
   orv::sdk_scoped_lock lock;
   try {
      commitAcls();
      // Without a name there is no policy map, and every item was rejected.
      if (!policyMapName_.empty()) pushOrTakeBack();
   } catch (const orv::error& e) {
      orv::fmttrace(programmingTracer(), 0, "Error: exception {}", e.what());
      // Removals need neither the commit nor the push. Redirects in force need nothing.
      for (int at = 0; at < request.bulk_size(); ++at) {
         pb::rpc_status_msg& status = *response.mutable_statuses(at);
         if (status.status() != pb::RPC_STATUS_OK || request.bulk(at).delete_()) continue;
         const Redirect* const redirect = table_.find(keyOf(request.bulk(at)));
         if (redirect == nullptr || redirect->second.inForce()) continue;
         setReplyStatusWithDebugString(status, pb::RPC_STATUS_ERROR, "Error: exception {}", e.what());
      }
   }
}

void CbfNhgRedirectProgrammer::processCbfNhgRedirectRequestInternal(
     const pb::cbf_nexthop_group_redirect_msg& request, pb::rpc_status_msg& response, bool commit) {
   serveRequest(client_, request, response,
                [&](std::string& errorText) { return work(request, errorText, commit); });
}

int CbfNhgRedirectProgrammer::work(const pb::cbf_nexthop_group_redirect_msg& request, std::string& errorText,
                                   bool commit) {
   if (policyMapName_.empty()) {
      return refuse(errorText, "Error: no cbf_nexthop_group_redirect_policy_map_name specified in init");
   }
   if (request.match_nexthop_group_name().empty()) {
      return refuse(errorText, "Error: match_nexthop_group_name required");
   }
   if (request.redirect_nexthop_group_name().empty()) {
      return refuse(errorText, "Error: redirect_nexthop_group_name required");
   }
   const Key key = keyOf(request);
   if (request.delete_()) {
      orv::sdk_scoped_lock lock;
      return removeRedirect(key);
   }
   if (request.match_ipv4_dscp().empty() && request.match_ipv6_dscp().empty()) {
      return refuse(errorText, "Error: match_ipv4_dscp or match_ipv6_dscp must be specified");
   }
   if (const std::uint32_t* const value = invalidDscp(request.match_ipv4_dscp())) {
      return refuse(errorText, "Error: match_ipv4_dscp contain invalid DSCP value {}", *value);
   }
   if (const std::uint32_t* const value = invalidDscp(request.match_ipv6_dscp())) {
      return refuse(errorText, "Error: match_ipv6_dscp contain invalid DSCP value {}", *value);
   }
   DscpValues ipv4(request.match_ipv4_dscp());
   DscpValues ipv6(request.match_ipv6_dscp());
   orv::sdk_scoped_lock lock;
   return addRedirect(key, std::move(ipv4), std::move(ipv6), commit);
}

int CbfNhgRedirectProgrammer::addRedirect(const Key& key, DscpValues ipv4, DscpValues ipv6, bool commit) {
   // Before any other layer, whatever follows.
   if (cbfNhgMgr_ != nullptr) cbfNhgMgr_->override_set(cbfNhgOverrideEntry(key, ipv4, ipv6));
   takeFailedCommits();
   const std::string name = key.uniqueName();
   Redirect* redirect = table_.find(key);
   if (redirect != nullptr) {
      SeqAndDscpValues& known = redirect->second;
      known.epoch = epoch_;
      const bool wasDue = table_.cancelRemoval(*redirect);
      // In a bulk, a written redirect is enough: the end of the bulk commits it.
      if (known.wants(ipv4, ipv6) && (commit ? known.inForce() : !known.isUnsure())) {
         orv::fmttrace(programmingTracer(), 6,
                       "Ignore add {} seq {} matching {} redirect {} IPv4-DSCP {} IPv6-DSCP {} existing "
                       "sequence{}",
                       policyMapName_, known.sequence, key.match, key.redirect, ipv4, ipv6,
                       wasDue ? " unscheduled pending removal" : "");
         return pb::RPC_STATUS_OK;
      }
      orv::fmttrace(programmingTracer(), 6,
                    "Update Acl {} seq {} matching {} redirect {} IPv4-DSCP {}->{} IPv6-DSCP {}->{}", name,
                    known.sequence, key.match, key.redirect, known.ipv4, ipv4, known.ipv6, ipv6);
      table_.change(*redirect, ipv4, ipv6);
   }
   if (redirect == nullptr || redirect->second.lists == Layer::unsure) {
      addAcl(cbfAfDefinitions[0], name, key, ipv4);
      addAcl(cbfAfDefinitions[1], name, key, ipv6);
      if (redirect != nullptr) table_.listsWritten(*redirect);
   }
   if (commit) commitAcls();
   if (redirect != nullptr && redirect->second.rule != Layer::unsure) {
      // The commit of an earlier bulk was refused, so its push never came.
      if (commit && redirect->second.rule == Layer::written) pushOrTakeBack();
      orv::fmttrace(programmingTracer(), 1,
                    "Updated Acl for {} seq {} matching {} redirect {} IPv4-DSCP {} IPv6-DSCP {}",
                    policyMapName_, redirect->second.sequence, key.match, key.redirect, ipv4, ipv6);
      return pb::RPC_STATUS_OK;
   }
   const orv::policy_map_key_t classMapKey(name, cbfFeature);
   orv::class_map_t classMap(classMapKey);
   std::uint32_t classMapSequence = 0;
   // Both ACLs, even that of an address family without DSCPs.
   for (const CbfAfDefinition& af : cbfAfDefinitions)
      classMap.rule_set(++classMapSequence, orv::class_map_rule_t(af.listOf(name)));
   classMapMgr_->class_map_is(classMap);
   orv::policy_map_action_t action(orv::policy_action_type_t::nexthop_group);
   action.nexthop_group_name_is(key.redirect);
   orv::policy_map_rule_t rule(classMapKey);
   rule.action_set(std::move(action));
   if (redirect == nullptr)
      redirect = &table_.enter(key, epoch_, ipv4, ipv6, commit ? Layer::committed : Layer::written);
   const std::uint32_t sequence = redirect->second.sequence;
   policyMap_.rule_set(sequence, std::move(rule));
   table_.ruleWritten(*redirect);
   if (commit) pushOrTakeBack();
   orv::fmttrace(programmingTracer(), 1, "Added {} seq {} matching {} redirect {} IPv4-DSCP {} IPv6-DSCP {}",
                 policyMapName_, sequence, key.match, key.redirect, ipv4, ipv6);
   return pb::RPC_STATUS_OK;
}

void CbfNhgRedirectProgrammer::commitAcls() {
   aclMgr_->acl_commit();
   table_.listsCommitted();
}

void CbfNhgRedirectProgrammer::pushPolicyMap() {
   policyMapMgr_->policy_map_is(policyMap_);
   table_.ruleCommitted();
}

// A refused rule does not stay in the policy map, where it would fail every later push.
void CbfNhgRedirectProgrammer::pushOrTakeBack() {
   try {
      pushPolicyMap();
   } catch (const orv::error&) {
      policyMap_ = withoutUnpushed();
      table_.unpushedRefused();
      throw;
   }
}

// RETURNS: the policy map with the SDK's rules in place of those that wait for a push.
orv::policy_map_t CbfNhgRedirectProgrammer::withoutUnpushed() const {
   orv::policy_map_t map = policyMap_;
   const orv::policy_map_t known = policyMapMgr_->exists(policyMapKey_)
                                        ? policyMapMgr_->policy_map(policyMapKey_)
                                        : orv::policy_map_t(policyMapKey_);
   for (const std::uint32_t sequence : table_.unpushed()) {
      const auto rule = known.rules().find(sequence);
      if (rule == known.rules().end()) {
         map.rule_del(sequence);
      } else {
         map.rule_set(sequence, rule->second);
      }
   }
   return map;
}

// The edits of an ACL whose commit failed stay pending and need another commit.
void CbfNhgRedirectProgrammer::takeFailedCommits() {
   if (failedCommits_.empty()) return;
   table_.commitFailed([this](const Key& key) {
      const std::string name = key.uniqueName();
      return std::any_of(
           std::begin(cbfAfDefinitions), std::end(cbfAfDefinitions),
           [&](const CbfAfDefinition& af) { return failedCommits_.contains(af.listOf(name).to_string()); });
   });
   failedCommits_.clear();
}

// Makes the ACL hold exactly these rules, even if an ACL of that name already exists.
void CbfNhgRedirectProgrammer::addAcl(const CbfAfDefinition& af, const std::string& name, const Key& key,
                                      const DscpValues& dscpValues) {
   const orv::acl_key_t aclKey = af.listOf(name);
   const bool exists = aclMgr_->acl_exists(aclKey);
   std::uint32_t sequence = 0;
   for (const std::uint8_t dscp : dscpValues.values())
      aclMgr_->acl_rule_set(aclKey, ++sequence, aclRule(af, key.match, dscp));
   if (exists) {
      for (auto rule = aclMgr_->acl_rule_ip_iter(aclKey); rule; ++rule) {
         if (rule->first == 0 || rule->first > sequence) aclMgr_->acl_rule_del(aclKey, rule->first);
      }
   } else if (sequence == 0) {
      // An ACL is created by its first rule and outlives its last. This rule is never committed.
      orv::acl_rule_ip_t nothing = aclRule(af, key.match, 0);
      nothing.action_is(orv::acl_action_t::deny);
      aclMgr_->acl_rule_set(aclKey, 1, nothing);
      aclMgr_->acl_rule_del(aclKey, 1);
   }
   orv::fmttrace(programmingTracer(), 5, "Added ACL {}", aclKey.acl_name());
}

void CbfNhgRedirectProgrammer::removeAcl(const CbfAfDefinition& af, const std::string& name) {
   const orv::acl_key_t aclKey = af.listOf(name);
   aclMgr_->acl_del(aclKey);
   orv::fmttrace(programmingTracer(), 5, "Removed ACL {}", aclKey.acl_name());
}

int CbfNhgRedirectProgrammer::removeRedirect(const Key& key) {
   Redirect* const redirect = table_.find(key);
   if (redirect == nullptr) {
      orv::fmttrace(programmingTracer(), 6, "Ignore remove {} matching {} redirect {} no matching sequence",
                    policyMapName_, key.match, key.redirect);
      return pb::RPC_STATUS_NOT_FOUND;
   }
   scheduleRemoveRedirect(*redirect);
   return pb::RPC_STATUS_OK;
}

void CbfNhgRedirectProgrammer::scheduleRemoveRedirect(Redirect& redirect) {
   if (table_.scheduleRemoval(redirect)) removeTask_->scheduleTaskLowestDelay(removeDelayNanos);
   orv::fmttrace(programmingTracer(), 1, "Scheduled removal {} seq {} matching {} redirect {}",
                 policyMapName_, redirect.second.sequence, redirect.first.match, redirect.first.redirect);
}

std::size_t CbfNhgRedirectProgrammer::processRemove() {
   // All removals have been cancelled.
   if (table_.due().empty()) return 0;
   try {
      for (Redirect* const redirect : table_.due())
         takeOut(*redirect);
      pushRemovals();
      commitAcls();
   } catch (const orv::error& e) {
      // An exception that leaves a task would end the process. All removals stay due.
      orv::fmttrace(programmingTracer(), 0, "Error: exception {}", e.what());
      removeTask_->scheduleTaskLowestDelay(removeDelayNanos);
      return 0;
   }
   const std::size_t count = table_.eraseDue();
   orv::fmttrace(programmingTracer(), 1, "Removed {} sequences from {}", count, policyMapName_);
   return count;
}

// A removal does not wait for a rule that the SDK may never accept. The rule is not taken back here: a bulk
// may be in progress, which pushes the rule at its end and reports the result.
void CbfNhgRedirectProgrammer::pushRemovals() {
   try {
      pushPolicyMap();
   } catch (const orv::error&) {
      if (table_.unpushed().empty()) throw;
      policyMapMgr_->policy_map_is(withoutUnpushed());
   }
}

// Removes all layers, but neither pushes the policy map nor commits the ACLs. Can be repeated.
void CbfNhgRedirectProgrammer::takeOut(Redirect& redirect) {
   const auto& [key, values] = redirect;
   table_.takenOut(redirect);
   const std::string name = key.uniqueName();
   policyMap_.rule_del(values.sequence);
   classMapMgr_->class_map_del(orv::policy_map_key_t(name, cbfFeature));
   for (const CbfAfDefinition& af : cbfAfDefinitions)
      removeAcl(af, name);
   orv::fmttrace(programmingTracer(), 1, "Removed {} seq {} matchNhg {} redirectNhg {}", policyMapName_,
                 values.sequence, key.match, key.redirect);
   removeOverride(key);
}

void CbfNhgRedirectProgrammer::removeOverride(const Key& key) {
   if (cbfNhgMgr_ != nullptr && fitsOverrideTable(key)) cbfNhgMgr_->override_del(cbfNhgOverrideKey(key));
}

void CbfNhgRedirectProgrammer::resyncStart() {
   orv::sdk_scoped_lock lock;
   ++epoch_;
}

void CbfNhgRedirectProgrammer::resyncEnd() {
   orv::sdk_scoped_lock lock;
   for (Redirect& redirect : table_.redirects()) {
      if (redirect.second.epoch != epoch_) scheduleRemoveRedirect(redirect);
   }
}

CbfNhgExt::CbfNhgOverrideKey CbfNhgRedirectProgrammer::cbfNhgOverrideKey(const Key& key) {
   CbfNhgExt::CbfNhgOverrideKey overrideKey;
   overrideKey.match.nhgNameIs(key.match);
   overrideKey.redirect.nhgNameIs(key.redirect);
   return overrideKey;
}

CbfNhgExt::CbfNhgOverrideEntry CbfNhgRedirectProgrammer::cbfNhgOverrideEntry(const Key& key,
                                                                             const DscpValues& ipv4,
                                                                             const DscpValues& ipv6) {
   CbfNhgExt::CbfNhgOverrideEntry entry{.key = cbfNhgOverrideKey(key), .dscps = {}};
   for (const DscpValues* values : {&ipv4, &ipv6}) {
      for (const std::uint8_t dscp : values->values())
         entry.dscps.dscpIs(dscp);
   }
   return entry;
}

}  // namespace OrvSdkRpc
