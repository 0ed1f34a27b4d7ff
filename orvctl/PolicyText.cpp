#include "orvctl/PolicyText.h"

#include <fmt/format.h>

#include "orvctl/EnumWords.h"
#include "orvctl/JsonText.h"
#include "orvctl/WordLine.h"

namespace orvctl {
namespace rpc = orv::remote;
namespace {

template <typename Texts>
void addTexts(WordLine& line, const Texts& texts) {
   for (const auto& text : texts)
      line.word(text);
}

template <typename Addresses>
void addAddresses(WordLine& line, const Addresses& addresses) {
   for (const auto& bytes : addresses)
      line.address("", bytes);
}

std::string actionText(const rpc::PolicyMapAction& action) {
   WordLine line;
   line.word(enumWord(action.action_type()));
   switch (action.action_type()) {
      case rpc::POLICY_ACTION_TYPE_NEXTHOP:
         addAddresses(line, action.nexthops());
         line.word("vrf", action.vrf());
         break;
      case rpc::POLICY_ACTION_TYPE_NEXTHOP_GROUP:
         line.word(action.nexthop_group_name());
         break;
      case rpc::POLICY_ACTION_TYPE_DSCP:
         line.word(std::to_string(action.dscp()));
         break;
      case rpc::POLICY_ACTION_TYPE_TRAFFIC_CLASS:
         line.word(std::to_string(action.traffic_class()));
         break;
      case rpc::POLICY_ACTION_TYPE_VRF:
         line.word(action.vrf());
         break;
      default:
         break;
   }
   return line.text();
}

std::string actionText(const rpc::TrafficPolicyAction& action) {
   WordLine line;
   line.word(enumWord(action.action_type()));
   switch (action.action_type()) {
      case rpc::TRAFFIC_POLICY_ACTION_TYPE_COUNT:
         line.word(action.counter_name());
         break;
      case rpc::TRAFFIC_POLICY_ACTION_TYPE_GOTO:
         line.word(action.goto_next() ? "next" : action.goto_class_name());
         break;
      case rpc::TRAFFIC_POLICY_ACTION_TYPE_DSCP:
         line.word(std::to_string(action.dscp()));
         break;
      case rpc::TRAFFIC_POLICY_ACTION_TYPE_TRAFFIC_CLASS:
         line.word(std::to_string(action.traffic_class()));
         break;
      case rpc::TRAFFIC_POLICY_ACTION_TYPE_VRF:
         line.word(action.vrf());
         break;
      case rpc::TRAFFIC_POLICY_ACTION_TYPE_MIRROR:
         line.word(action.mirror_session());
         break;
      case rpc::TRAFFIC_POLICY_ACTION_TYPE_POLICE:
         line.word(fmt::format("{} {} burst {} {}", action.police_rate(), enumWord(action.police_rate_unit()),
                               action.police_burst_size(), enumWord(action.police_burst_unit())));
         break;
      case rpc::TRAFFIC_POLICY_ACTION_TYPE_NEXTHOP_GROUP:
         addTexts(line, action.nexthop_groups());
         break;
      case rpc::TRAFFIC_POLICY_ACTION_TYPE_NEXTHOP:
         addAddresses(line, action.nexthops());
         line.word("vrf", action.vrf());
         break;
      default:
         break;
   }
   return line.text();
}

template <typename Actions>
std::string actionsText(const Actions& actions) {
   std::string text;
   for (const auto& action : actions)
      text += (text.empty() ? "" : ", ") + actionText(action);
   return text.empty() ? "no action" : text;
}

std::string matchText(const rpc::PolicyMapRule& rule) {
   if (rule.has_policy_map_rule_type() && rule.policy_map_rule_type() == rpc::POLICY_MAP_RULE_TYPE_RAW)
      return "raw " + messageToShortJson(rule.raw_rule());
   if (rule.has_policy_map_rule_type() &&
       rule.policy_map_rule_type() == rpc::POLICY_MAP_RULE_TYPE_CLASS_DEFAULT)
      return "class-default";
   return "class-map " + rule.class_map_key().name();
}

}  // namespace

std::string ruleText(const rpc::ClassMapRule& rule) {
   return fmt::format("{} list {}", enumWord(rule.acl_key().acl_type()), rule.acl_key().acl_name());
}

std::string ruleText(const rpc::PolicyMapRule& rule) {
   return fmt::format("{}: {}", matchText(rule), actionsText(rule.actions()));
}

std::string ruleText(const rpc::TrafficPolicyRule& rule) {
   WordLine line;
   line.word(rule.match_rule_name());
   line.word(enumWord(rule.traffic_policy_rule_type()));
   if (rule.raw_rule().ByteSizeLong() != 0) line.word(messageToShortJson(rule.raw_rule()));
   return fmt::format("{}: {}", line.text(), actionsText(rule.actions()));
}

}  // namespace orvctl
