#include "OrvSdkRpc/programming/CbfNhgRedirectProgrammer.h"

#include <algorithm>
#include <iterator>

#include "OrvSdkRpc/programming/CbfNhgMgr.h"
#include "OrvSdkRpc/programming/Reply.h"
#include "OrvSdkRpc/server/Assert.h"
#include "gorm/TaskScheduler.h"
#include "orv/acl.h"
#include "orv/agent.h"
#include "orv/class_map.h"
#include "orv/lock.h"
#include "orv/policy_map.h"
#include "pavo/Task.h"

namespace OrvSdkRpc {
namespace {

const std::string statusName = "OrvSdkRpc-cbfNexthopGroupRedirectPolicyMapName";

// Every redirect is a rule of class maps of this feature.
constexpr orv::policy_feature_t feature = orv::policy_feature_t::pbr;
constexpr Gorm::Priority removePriority = 4;
constexpr std::int64_t removeDelayNanos = 1'000'000'000;
constexpr std::uint32_t maxDscp = 63;

template <class... Args>
void traceBad(fmt::format_string<Args...> format, Args&&... args) {
   orv::fmttrace(programmingTracer(), 0, format, std::forward<Args>(args)...);
}

// Fills the text, traces it and answers the status of a refusal.
template <class... Args>
int refuse(std::string& errorText, fmt::format_string<Args...> format, Args&&... args) {
   errorText = fmt::format(format, std::forward<Args>(args)...);
   orv::fmttrace(programmingTracer(), 0, "{}", errorText);
   return pb::RPC_STATUS_ERROR;
}

// The first value that is no DSCP.
template <class Values>
const std::uint32_t* invalidDscp(const Values& values) {
   const auto found = std::find_if(values.begin(), values.end(), [](std::uint32_t v) { return v > maxDscp; });
   return found == values.end() ? nullptr : &*found;
}

bool isSeparator(char c) {
   return c == '_' || c == '-';
}

CbfNhgRedirectProgrammer::Key keyOf(const pb::cbf_nexthop_group_redirect_msg& request) {
   return {request.match_nexthop_group_name(), request.redirect_nexthop_group_name()};
}

// Takes the first name; false if there was another one before.
bool takeName(std::string& taken, const std::string& name) {
   if (taken.empty()) taken = name;
   return taken == name;
}

}  // namespace

// How a DSCP stands in the rules of a family's list: the IPv4 rule has it as it is, the IPv6 rule within the
// traffic class (RFC 2474).
struct CbfNhgRedirectProgrammer::AfDefinition {
   orv::acl_type_t type;
   DscpValues SeqAndDscpValues::*values;
   const char* suffix;
   unsigned shift;
   std::uint8_t mask;
};

constexpr CbfNhgRedirectProgrammer::AfDefinition CbfNhgRedirectProgrammer::afDefinitions[] = {
     {orv::acl_type_t::ipv4, &SeqAndDscpValues::ipv4, "_IPv4", 0, 0x3f},
     {orv::acl_type_t::ipv6, &SeqAndDscpValues::ipv6, "_IPv6", 2, 0xfc},
};

class CbfNhgRedirectProgrammer::RemoveTask final : public Pavo::TimerTask {
public:
   explicit RemoveTask(CbfNhgRedirectProgrammer& programmer)
        : TimerTask(Gorm::TaskSchedulerRoot::findOrCreateScheduler(), "PolicyMapRemove", removePriority),
          programmer_(programmer) {}

private:
   void taskExecute() override { taskWorkCountInc(programmer_.processRemove()); }

   CbfNhgRedirectProgrammer& programmer_;
};

std::string getCbfUniqueName(std::string_view match, std::string_view redirect) {
   const auto differ = std::mismatch(match.begin(), match.end(), redirect.begin(), redirect.end()).first;
   const auto common = static_cast<std::size_t>(differ - match.begin());
   if (common != 0) {
      if (common == match.size() && match.size() < redirect.size() && isSeparator(redirect[common])) {
         return std::string(redirect);
      }
      if (isSeparator(match[common - 1])) return fmt::format("{}{}", match, redirect.substr(common - 1));
   }
   return fmt::format("{}-{}", match, redirect);
}

CbfNhgRedirectProgrammer::CbfNhgRedirectProgrammer(const ClientInit& client,
                                                   orv::policy_map_mgr* policyMapMgr,
                                                   orv::class_map_mgr* classMapMgr, orv::acl_mgr* aclMgr,
                                                   orv::agent_mgr* agentMgr, CbfNhgMgr* cbfNhgMgr)
     : removeTask_(std::make_unique<RemoveTask>(*this)),
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
   policyMapName_ = name;
   policyMapKey_ = orv::policy_map_key_t(name, feature);
   const bool exists = policyMapMgr_->exists(policyMapKey_);
   policyMap_ = exists ? policyMapMgr_->policy_map(policyMapKey_) : orv::policy_map_t(policyMapKey_);
   static_cast<void>(agentMgr_->status(statusName));
   agentMgr_->status_set(statusName, name);
   if (!exists) return false;
   std::vector<std::uint32_t> bad;
   for (const auto& [sequence, rule] : policyMap_.rules()) {
      lastSequence_ = std::max(lastSequence_, sequence);
      if (auto redirect = readRule(sequence, rule)) {
         orv::fmttrace(programmingTracer(), 7,
                       "Restored policy-map seq {} nexthop-group {} -> {} IPv4 DSCP {} IPv6 DSCP {}",
                       sequence, redirect->first.match, redirect->first.redirect,
                       redirect->second.ipv4.toStrep(), redirect->second.ipv6.toStrep());
         redirects_.insert_or_assign(std::move(redirect->first), std::move(redirect->second));
      } else {
         bad.push_back(sequence);
      }
   }
   removeBadRules(bad);
   return lastSequence_ != 0;
}

// The redirect that a rule of the policy map stands for; none, traced, if it is not one of ours.
std::optional<std::pair<CbfNhgRedirectProgrammer::Key, CbfNhgRedirectProgrammer::SeqAndDscpValues>>
CbfNhgRedirectProgrammer::readRule(std::uint32_t sequence, const orv::policy_map_rule_t& rule) const {
   std::pair<Key, SeqAndDscpValues> read;
   auto& [key, values] = read;
   values.sequence = sequence;
   values.epoch = epoch_;
   for (const orv::policy_map_action_t& action : rule.actions()) {
      if (!takeName(key.redirect, action.nexthop_group_name())) {
         traceBad("Error: policy-map seq {} contradicting redirect NexthopGroups", sequence);
         return std::nullopt;
      }
   }
   if (key.redirect.empty()) {
      traceBad("Error: policy-map seq {} missing redirect NexthopGroup", sequence);
      return std::nullopt;
   }
   const orv::policy_map_key_t& classMapKey = rule.class_map_key();
   if (!classMapMgr_->exists(classMapKey)) {
      traceBad("Error: policy-map seq {} class-map {} missing", sequence, classMapKey.name());
      return std::nullopt;
   }
   const orv::class_map_t classMap = classMapMgr_->class_map(classMapKey);
   for (const auto& [classMapSequence, classMapRule] : classMap.rules()) {
      if (!readAclRules(sequence, classMapKey, classMapSequence, classMapRule.acl_key(), values, key.match)) {
         return std::nullopt;
      }
   }
   if (key.match.empty()) {
      traceBad("Error: policy-map seq {} missing match NexthopGroup", sequence);
      return std::nullopt;
   }
   return read;
}

bool CbfNhgRedirectProgrammer::readAclRules(std::uint32_t sequence, const orv::policy_map_key_t& classMapKey,
                                            std::uint32_t classMapSequence, const orv::acl_key_t& aclKey,
                                            SeqAndDscpValues& values, std::string& matchGroup) const {
   const auto* const af = std::find_if(std::begin(afDefinitions), std::end(afDefinitions),
                                       [&](const AfDefinition& d) { return d.type == aclKey.acl_type(); });
   if (af == std::end(afDefinitions)) {
      traceBad("Error: policy-map seq {} class-map {} seq {} unexpected acl-type {} acl {}", sequence,
               classMapKey.name(), classMapSequence, aclKey.acl_type(), aclKey.acl_name());
      assertionFailed("unexpected acl-type", __FILE__, __LINE__);
   }
   DscpValues& dscpValues = values.*(af->values);
   if (!dscpValues.empty()) {
      traceBad("Error: policy-map seq {} class-map {} seq {} existing DSCP values", sequence,
               classMapKey.name(), classMapSequence);
      return false;
   }
   for (auto rule = aclMgr_->acl_rule_ip_iter(aclKey); rule; ++rule) {
      const orv::acl_rule_ip_t& ipRule = rule->second;
      if (!takeName(matchGroup, ipRule.nexthop_group())) {
         traceBad("Error: policy-map seq {} class-map {} seq {} contradicting match NexthopGroups {} {}",
                  sequence, classMapKey.name(), classMapSequence, matchGroup, ipRule.nexthop_group());
         return false;
      }
      dscpValues.add(static_cast<std::uint8_t>(ipRule.priority_value() >> af->shift));
   }
   return true;
}

// The policy map itself is not pushed: that its rules are gone reaches the SDK with its next push.
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

// One commit for all items, also where there is none and where all have failed.
void CbfNhgRedirectProgrammer::processCbfNhgRedirectBulkRequest(
     const pb::cbf_nexthop_group_redirect_bulk_msg& request, pb::rpc_status_bulk_msg& response) {
   serveBulk(request, response, [this](const auto& item, auto& status) {
      processCbfNhgRedirectRequestInternal(item, status, false);
   });
   orv::sdk_scoped_lock lock;
   try {
      aclMgr_->acl_commit();
      // Without a name there is no policy map, and every item was refused.
      if (!policyMapName_.empty()) policyMapMgr_->policy_map_is(policyMap_);
   } catch (const orv::error& e) {
      // No item has reached the switch as a whole.
      for (int at = 0; at < request.bulk_size(); ++at) {
         pb::rpc_status_msg& status = *response.mutable_statuses(at);
         if (status.status() != pb::RPC_STATUS_OK) continue;
         setReplyStatusWithDebugString(status, pb::RPC_STATUS_ERROR, "Error: exception {}", e.what());
         const auto found = redirects_.find(keyOf(request.bulk(at)));
         if (found != redirects_.end()) found->second.unfinished = true;
      }
      orv::fmttrace(programmingTracer(), 0, "Error: exception {}", e.what());
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
   if (request.delete_()) {
      orv::sdk_scoped_lock lock;
      return removeRedirect(request);
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
   orv::sdk_scoped_lock lock;
   return addRedirect(request, errorText, commit);
}

int CbfNhgRedirectProgrammer::addRedirect(const pb::cbf_nexthop_group_redirect_msg& request, std::string&,
                                          bool commit) {
   const Key key = keyOf(request);
   DscpValues ipv4(request.match_ipv4_dscp());
   DscpValues ipv6(request.match_ipv6_dscp());
   // Before any other layer, whatever follows.
   if (cbfNhgMgr_ != nullptr) cbfNhgMgr_->override_set(cbfNhgOverrideEntry(key, ipv4, ipv6));
   const std::string name = key.uniqueName();
   auto found = redirects_.find(key);
   const bool stands = found != redirects_.end();
   // The class map and the rule are there: only the lists are to change.
   const bool update = stands && !found->second.unfinished;
   if (stands) {
      SeqAndDscpValues& known = found->second;
      known.epoch = epoch_;
      const bool wasPending = pendingRemoval_.erase(key) != 0;
      if (update && known.ipv4 == ipv4 && known.ipv6 == ipv6) {
         orv::fmttrace(programmingTracer(), 6,
                       "Ignore add {} seq {} matching {} redirect {} IPv4-DSCP {} IPv6-DSCP {} existing "
                       "sequence{}",
                       policyMapName_, known.sequence, key.match, key.redirect, ipv4.toStrep(),
                       ipv6.toStrep(), wasPending ? " unscheduled pending removal" : "");
         return pb::RPC_STATUS_OK;
      }
      orv::fmttrace(programmingTracer(), 6,
                    "Update Acl {} seq {} matching {} redirect {} IPv4-DSCP {}->{} IPv6-DSCP {}->{}", name,
                    known.sequence, key.match, key.redirect, known.ipv4.toStrep(), ipv4.toStrep(),
                    known.ipv6.toStrep(), ipv6.toStrep());
      known.ipv4 = ipv4;
      known.ipv6 = ipv6;
      known.unfinished = true;
   }
   addAcl(afDefinitions[0], name, key, ipv4, stands);
   addAcl(afDefinitions[1], name, key, ipv6, stands);
   if (commit) aclMgr_->acl_commit();
   if (update) {
      found->second.unfinished = false;
      orv::fmttrace(programmingTracer(), 1,
                    "Updated Acl for {} seq {} matching {} redirect {} IPv4-DSCP {} IPv6-DSCP {}",
                    policyMapName_, found->second.sequence, key.match, key.redirect, ipv4.toStrep(),
                    ipv6.toStrep());
      return pb::RPC_STATUS_OK;
   }
   const orv::policy_map_key_t classMapKey(name, feature);
   orv::class_map_t classMap(classMapKey);
   std::uint32_t classMapSequence = 0;
   // Both lists, also the one of a family without a value.
   for (const AfDefinition& af : afDefinitions)
      classMap.rule_set(++classMapSequence, orv::class_map_rule_t(orv::acl_key_t(name + af.suffix, af.type)));
   classMapMgr_->class_map_is(classMap);
   orv::policy_map_action_t action(orv::policy_action_type_t::nexthop_group);
   action.nexthop_group_name_is(key.redirect);
   orv::policy_map_rule_t rule(classMapKey);
   rule.action_set(std::move(action));
   const std::uint32_t sequence = stands ? found->second.sequence : ++lastSequence_;
   orv::fmttrace(programmingTracer(), 1, "Added {} seq {} matching {} redirect {} IPv4-DSCP {} IPv6-DSCP {}",
                 policyMapName_, sequence, key.match, key.redirect, ipv4.toStrep(), ipv6.toStrep());
   if (!stands) {
      found = redirects_
                   .emplace(key, SeqAndDscpValues{.sequence = sequence,
                                                  .epoch = epoch_,
                                                  .ipv4 = std::move(ipv4),
                                                  .ipv6 = std::move(ipv6),
                                                  .unfinished = true})
                   .first;
   }
   policyMap_.rule_set(sequence, std::move(rule));
   if (commit) policyMapMgr_->policy_map_is(policyMap_);
   found->second.unfinished = false;
   return pb::RPC_STATUS_OK;
}

void CbfNhgRedirectProgrammer::addAcl(const AfDefinition& af, const std::string& name, const Key& key,
                                      const DscpValues& dscpValues, bool update) {
   const orv::acl_key_t aclKey(name + af.suffix, af.type);
   std::uint32_t sequence = 0;
   for (const std::uint8_t dscp : dscpValues.values()) {
      orv::acl_rule_ip_t rule;
      rule.action_is(orv::acl_action_t::permit);
      rule.nexthop_group_is(key.match);
      rule.priority_mask_is(af.mask);
      rule.priority_value_is(static_cast<std::uint8_t>(dscp << af.shift));
      rule.match_ip_priority_is(true);
      aclMgr_->acl_rule_set(aclKey, ++sequence, rule);
   }
   if (update) {
      // A list that became shorter leaves no old rule.
      for (auto rule = aclMgr_->acl_rule_ip_iter(aclKey); rule; ++rule) {
         if (rule->first > sequence) aclMgr_->acl_rule_del(aclKey, rule->first);
      }
   }
   orv::fmttrace(programmingTracer(), 5, "Added ACL {}", aclKey.acl_name());
}

void CbfNhgRedirectProgrammer::removeAcl(const AfDefinition& af, const std::string& name) {
   const orv::acl_key_t aclKey(name + af.suffix, af.type);
   aclMgr_->acl_del(aclKey);
   orv::fmttrace(programmingTracer(), 5, "Removed ACL {}", aclKey.acl_name());
}

int CbfNhgRedirectProgrammer::removeRedirect(const pb::cbf_nexthop_group_redirect_msg& request) {
   const Key key = keyOf(request);
   const auto found = redirects_.find(key);
   if (found == redirects_.end()) {
      orv::fmttrace(programmingTracer(), 6, "Ignore remove {} matching {} redirect {} no matching sequence",
                    policyMapName_, key.match, key.redirect);
      return pb::RPC_STATUS_NOT_FOUND;
   }
   scheduleRemoveRedirect(key);
   orv::fmttrace(programmingTracer(), 1, "Scheduled removal {} seq {} matching {} redirect {}",
                 policyMapName_, found->second.sequence, key.match, key.redirect);
   return pb::RPC_STATUS_OK;
}

void CbfNhgRedirectProgrammer::scheduleRemoveRedirect(const Key& key) {
   if (pendingRemoval_.insert(key).second) removeTask_->scheduleTaskLowestDelay(removeDelayNanos);
}

std::size_t CbfNhgRedirectProgrammer::processRemove() {
   // Every removal was cancelled meanwhile.
   if (pendingRemoval_.empty()) return 0;
   try {
      for (const Key& key : pendingRemoval_)
         takeOut(key);
      policyMapMgr_->policy_map_is(policyMap_);
      aclMgr_->acl_commit();
   } catch (const orv::error& e) {
      // An exception out of a task would end the process. All of them stay due.
      orv::fmttrace(programmingTracer(), 0, "Error: exception {}", e.what());
      removeTask_->scheduleTaskLowestDelay(removeDelayNanos);
      return 0;
   }
   for (const Key& key : pendingRemoval_)
      redirects_.erase(key);
   const std::size_t count = pendingRemoval_.size();
   orv::fmttrace(programmingTracer(), 1, "Removed {} sequences from {}", count, policyMapName_);
   pendingRemoval_.clear();
   return count;
}

// All layers but the policy map's push and the lists' commit. May be repeated.
void CbfNhgRedirectProgrammer::takeOut(const Key& key) {
   const auto found = redirects_.find(key);
   assertThat(found != redirects_.end(), "found");
   SeqAndDscpValues& values = found->second;
   values.unfinished = true;
   const std::string name = key.uniqueName();
   policyMap_.rule_del(values.sequence);
   classMapMgr_->class_map_del(orv::policy_map_key_t(name, feature));
   for (const AfDefinition& af : afDefinitions)
      removeAcl(af, name);
   orv::fmttrace(programmingTracer(), 1, "Removed {} seq {} matchNhg {} redirectNhg {}", policyMapName_,
                 values.sequence, key.match, key.redirect);
   if (cbfNhgMgr_ != nullptr) cbfNhgMgr_->override_del(cbfNhgOverrideKey(key));
}

void CbfNhgRedirectProgrammer::resyncStart() {
   orv::sdk_scoped_lock lock;
   ++epoch_;
}

void CbfNhgRedirectProgrammer::resyncEnd() {
   orv::sdk_scoped_lock lock;
   for (const auto& [key, values] : redirects_) {
      if (values.epoch == epoch_) continue;
      scheduleRemoveRedirect(key);
      orv::fmttrace(programmingTracer(), 1, "Scheduled removal {} seq {} matching {} redirect {}",
                    policyMapName_, values.sequence, key.match, key.redirect);
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
