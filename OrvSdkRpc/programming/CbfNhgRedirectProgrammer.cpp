#include "OrvSdkRpc/programming/CbfNhgRedirectProgrammer.h"

#include "OrvSdkRpc/programming/Reply.h"
#include "OrvSdkRpc/server/Assert.h"
#include "orv/acl.h"
#include "orv/agent.h"
#include "orv/class_map.h"
#include "orv/lock.h"
#include "orv/policy_map.h"

namespace OrvSdkRpc {
namespace {

const std::string statusName = "OrvSdkRpc-cbfNexthopGroupRedirectPolicyMapName";

// How a DSCP stands in the rules of a family's list: the IPv4 rule has it as it is, the IPv6 rule within the
// traffic class (RFC 2474).
struct AfDefinition {
   orv::acl_type_t type;
   DscpValues CbfNhgRedirectProgrammer::SeqAndDscpValues::*values;
   unsigned shift;
};

constexpr AfDefinition afDefinitions[] = {
     {orv::acl_type_t::ipv4, &CbfNhgRedirectProgrammer::SeqAndDscpValues::ipv4, 0},
     {orv::acl_type_t::ipv6, &CbfNhgRedirectProgrammer::SeqAndDscpValues::ipv6, 2},
};

const AfDefinition* afDefinition(orv::acl_type_t type) {
   for (const AfDefinition& af : afDefinitions) {
      if (af.type == type) return &af;
   }
   return nullptr;
}

template <class... Args>
void traceBad(fmt::format_string<Args...> format, Args&&... args) {
   orv::fmttrace(programmingTracer(), 0, format, std::forward<Args>(args)...);
}

// Takes the first name; false if there was another one before.
bool takeName(std::string& taken, const std::string& name) {
   if (taken.empty()) taken = name;
   return taken == name;
}

}  // namespace

bool CbfNhgRedirectProgrammer::cbrPolicyMapNameIs(const std::string& name) {
   if (name == policyMapName_) return true;
   orv::sdk_scoped_lock lock;
   policyMapName_ = name;
   policyMapKey_ = orv::policy_map_key_t(name, orv::policy_feature_t::pbr);
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
   const AfDefinition* const af = afDefinition(aclKey.acl_type());
   if (af == nullptr) {
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
   serveUnavailable(client_, request, response);
}

void CbfNhgRedirectProgrammer::processCbfNhgRedirectBulkRequest(
     const pb::cbf_nexthop_group_redirect_bulk_msg& request, pb::rpc_status_bulk_msg& response) {
   serveBulk(request, response,
             [this](const auto& item, auto& status) { processCbfNhgRedirectRequest(item, status); });
}

void CbfNhgRedirectProgrammer::resyncStart() {
   // The main loop reads the epoch too, once redirects are removed by a task.
   orv::sdk_scoped_lock lock;
   ++epoch_;
}

void CbfNhgRedirectProgrammer::resyncEnd() {}

}  // namespace OrvSdkRpc
