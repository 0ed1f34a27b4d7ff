#include "OrvSdkRpc/programming/CbfRedirectReader.h"

#include <algorithm>
#include <iterator>
#include <utility>
#include <vector>

#include "OrvSdkRpc/programming/CbfAfDefinition.h"
#include "OrvSdkRpc/programming/Reply.h"
#include "OrvSdkRpc/server/Assert.h"
#include "orv/acl.h"
#include "orv/class_map.h"

namespace OrvSdkRpc {
namespace {

template <class... Args>
void traceBad(fmt::format_string<Args...> format, Args&&... args) {
   orv::fmttrace(programmingTracer(), 0, format, std::forward<Args>(args)...);
}

// Stores the first name.
// RETURNS: false if `name` differs from the stored one.
bool takeName(std::string& taken, const std::string& name) {
   if (taken.empty()) taken = name;
   return taken == name;
}

// True if the class map is the one that the programmer would create, so that it refers to the ACLs that a
// change would write.
bool isNamedByUs(const CbfRedirectTable::Key& key, const orv::policy_map_key_t& classMapKey,
                 const orv::class_map_t& classMap) {
   const std::string name = key.uniqueName();
   return classMapKey == orv::policy_map_key_t(name, cbfFeature) &&
          std::equal(classMap.rules().begin(), classMap.rules().end(), std::begin(cbfAfDefinitions),
                     std::end(cbfAfDefinitions), [&](const auto& rule, const CbfAfDefinition& af) {
                        return rule.second.acl_key() == af.listOf(name);
                     });
}

}  // namespace

std::optional<std::pair<CbfRedirectReader::Key, CbfRedirectReader::SeqAndDscpValues>> CbfRedirectReader::read(
     std::uint32_t sequence, const orv::policy_map_rule_t& rule) const {
   std::optional<std::pair<Key, SeqAndDscpValues>> read(std::in_place);
   auto& [key, values] = *read;
   values.sequence = sequence;
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
   if (!classMapMgr_.exists(classMapKey)) {
      traceBad("Error: policy-map seq {} class-map {} missing", sequence, classMapKey.name());
      return std::nullopt;
   }
   const orv::class_map_t classMap = classMapMgr_.class_map(classMapKey);
   bool edited = false;
   for (const auto& [classMapSequence, classMapRule] : classMap.rules()) {
      if (!readAclRules(sequence, classMapKey, classMapSequence, classMapRule.acl_key(), values, key.match)) {
         return std::nullopt;
      }
      edited = edited || hasPendingEdits(classMapRule.acl_key());
   }
   if (key.match.empty()) {
      traceBad("Error: policy-map seq {} missing match NexthopGroup", sequence);
      return std::nullopt;
   }
   values.lists = edited ? CbfRedirectTable::Layer::unsure : CbfRedirectTable::Layer::committed;
   values.rule = CbfRedirectTable::Layer::committed;
   values.foreign = !isNamedByUs(key, classMapKey, classMap);
   return read;
}

bool CbfRedirectReader::readAclRules(std::uint32_t sequence, const orv::policy_map_key_t& classMapKey,
                                     std::uint32_t classMapSequence, const orv::acl_key_t& aclKey,
                                     SeqAndDscpValues& values, std::string& matchGroup) const {
   const auto* const af = std::find_if(std::begin(cbfAfDefinitions), std::end(cbfAfDefinitions),
                                       [&](const CbfAfDefinition& d) { return d.type == aclKey.acl_type(); });
   if (af == std::end(cbfAfDefinitions)) {
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
   std::vector<std::uint8_t> dscps;
   for (auto rule = aclMgr_.acl_all_rule_ip_iter(aclKey); rule; ++rule) {
      const orv::acl_rule_ip_t& ipRule = rule->second;
      if (!takeName(matchGroup, ipRule.nexthop_group())) {
         traceBad("Error: policy-map seq {} class-map {} seq {} contradicting match NexthopGroups {} {}",
                  sequence, classMapKey.name(), classMapSequence, matchGroup, ipRule.nexthop_group());
         return false;
      }
      dscps.push_back(static_cast<std::uint8_t>(ipRule.priority_value() >> af->shift));
   }
   dscpValues = DscpValues(std::move(dscps));
   return true;
}

bool CbfRedirectReader::hasPendingEdits(const orv::acl_key_t& aclKey) const {
   if (aclMgr_.acl_exists(aclKey) != aclMgr_.acl_all_exists(aclKey)) return true;
   auto pending = aclMgr_.acl_rule_ip_iter(aclKey);
   auto committed = aclMgr_.acl_all_rule_ip_iter(aclKey);
   for (; pending && committed; ++pending, ++committed) {
      if (*pending != *committed) return true;
   }
   return static_cast<bool>(pending) != static_cast<bool>(committed);
}

}  // namespace OrvSdkRpc
