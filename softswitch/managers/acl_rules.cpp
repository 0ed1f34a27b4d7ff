#include "softswitch/managers/acl_rules.h"

#include <fmt/format.h>

#include <algorithm>
#include <optional>
#include <string_view>

#include "orv/error.h"
#include "softswitch/managers/nexthop_group_mgr.h"
#include "softswitch/tables/name_check.h"

namespace softswitch {
namespace {

using orv::acl_range_operator_t;

// Checks the values of one rule. `where` names the rule at the start of each refusal.
class RuleCheck {
public:
   explicit RuleCheck(absl::FunctionRef<std::string()> where) : where_(where) {}

   template <typename... Args>
   [[noreturn]] void refuse(fmt::format_string<Args...> format, Args&&... args) const {
      throw orv::invalid_argument_error(
           fmt::format("{}: {}", where_(), fmt::format(format, std::forward<Args>(args)...)));
   }

   void match(const orv::acl_rule_ip_t& rule, std::optional<std::uint8_t> family) const {
      if (const auto fault = textFault(rule.nexthop_group(), NexthopGroupMgr::nameBytesMax); !fault.empty())
         refuse("nexthop group name {}", fault);
      vlans(rule);
      if (rule.ttl().oper() == acl_range_operator_t::range) {
         refuse("ttl has operator range, expected eq, gt, lt, neq or any");
      }
      address("source", rule.source_addr(), family);
      address("destination", rule.destination_addr(), family);
      ports("source port", rule.source_port());
      ports("destination port", rule.destination_port());
      range("tcp flags", rule.tcp_flags(), 0x1ff);
      icmp("icmp type", rule.icmp_type());
      icmp("icmp code", rule.icmp_code());
   }

   void match(const orv::acl_rule_eth_t& rule) const {
      vlans(rule);
      range("eth protocol", rule.eth_protocol(), 65536);
   }

private:
   void range(std::string_view what, std::uint32_t value, std::uint32_t highest) const {
      if (value > highest) refuse("{} {} is out of range, expected 0 to {}", what, value, highest);
   }

   template <typename Rule>
   void vlans(const Rule& rule) const {
      range("vlan", rule.vlan(), 4095);
      range("vlan mask", rule.vlan_mask(), 4095);
      range("inner vlan", rule.inner_vlan(), 4095);
      range("inner vlan mask", rule.inner_vlan_mask(), 4095);
   }

   void address(std::string_view what, const orv::ip_addr_mask_t& address,
                std::optional<std::uint8_t> family) const {
      if (!address.address()) {
         if (address.mask_length() != 0) {
            refuse("{} has mask length {} without an address, expected 0", what, address.mask_length());
         }
         return;
      }
      if (family && address.af() != *family) {
         refuse("{} {} has family {}, expected {}", what, address.to_string(), address.af(), *family);
      }
      const auto width = address.address().width();
      if (address.mask_length() > width) {
         refuse("{} {} has mask length {}, expected 0 to {}", what, address.address().to_string(),
                address.mask_length(), width);
      }
   }

   void ports(std::string_view what, const orv::acl_port_spec_t& spec) const {
      std::size_t least = 0, most = 0;
      switch (spec.oper()) {
         case acl_range_operator_t::eq:
         case acl_range_operator_t::neq:
            least = 1, most = 10;
            break;
         case acl_range_operator_t::gt:
         case acl_range_operator_t::lt:
            least = most = 1;
            break;
         case acl_range_operator_t::range:
            least = most = 2;
            break;
         case acl_range_operator_t::any:
         case acl_range_operator_t::null_operator:
            break;
      }
      const auto& numbers = spec.ports();
      if (numbers.size() < least || numbers.size() > most) {
         refuse("{} has {} numbers for operator {}, expected {}", what, numbers.size(),
                orv::to_string(spec.oper()),
                least == most ? fmt::format("{}", least) : fmt::format("{} to {}", least, most));
      }
      if (spec.oper() == acl_range_operator_t::range && numbers[0] > numbers[1]) {
         refuse("{} ranges from {} to {}, expected an ascending range", what, numbers[0], numbers[1]);
      }
   }

   void icmp(std::string_view what, std::uint16_t number) const {
      if (number > 255 && number != 65535) {
         refuse("{} {} is out of range, expected 0 to 255, or 65535 for any", what, number);
      }
   }

   absl::FunctionRef<std::string()> where_;
};

// Checks a rule for the list that it is meant for.
class ListRuleCheck {
public:
   ListRuleCheck(const orv::acl_key_t& key, const RuleCheck& check) : key_(key), check_(check) {}

   void operator()(const orv::acl_rule_ip_t& rule) const {
      const bool v4 = key_.acl_type() == orv::acl_type_t::ipv4;
      if (!v4 && key_.acl_type() != orv::acl_type_t::ipv6) {
         check_.refuse("an IP rule in a list of type {}, expected type ipv4 or ipv6",
                       orv::to_string(key_.acl_type()));
      }
      check_.match(rule, v4 ? orv::af_ipv4 : orv::af_ipv6);
   }

   void operator()(const orv::acl_rule_eth_t& rule) const {
      if (key_.acl_type() != orv::acl_type_t::eth) {
         check_.refuse("an Ethernet rule in a list of type {}, expected type eth",
                       orv::to_string(key_.acl_type()));
      }
      check_.match(rule);
   }

private:
   const orv::acl_key_t& key_;
   const RuleCheck& check_;
};

// The family that the addresses of a rule outside a list must have; empty if the rule implies none.
std::optional<std::uint8_t> familyOf(const orv::acl_rule_ip_t& rule) {
   if (rule.ip_type() == orv::acl_ip_type_t::ipv4) return orv::af_ipv4;
   if (rule.ip_type() == orv::acl_ip_type_t::ipv6) return orv::af_ipv6;
   for (const auto* const address : {&rule.source_addr(), &rule.destination_addr()}) {
      if (address->address().width() != 0) return address->af();
   }
   return std::nullopt;
}

bool covers(const orv::ip_addr_mask_t& match, const orv::ip_addr_t& address) {
   if (!match.address()) return true;
   if (match.af() != address.af()) return false;
   const auto* a = match.addr();
   const auto* b = address.addr();
   const unsigned whole = match.mask_length() / 8;
   const unsigned rest = match.mask_length() % 8;
   if (!std::equal(a, a + whole, b)) return false;
   const auto mask = static_cast<std::uint8_t>(0xff00 >> rest);
   return rest == 0 || (a[whole] & mask) == (b[whole] & mask);
}

bool covers(const orv::acl_port_spec_t& match, std::uint16_t port) {
   const auto& numbers = match.ports();
   const auto any = [&] { return std::find(numbers.begin(), numbers.end(), port) != numbers.end(); };
   switch (match.oper()) {
      case acl_range_operator_t::any:
      case acl_range_operator_t::null_operator:
         return true;
      case acl_range_operator_t::eq:
         return any();
      case acl_range_operator_t::neq:
         return !any();
      case acl_range_operator_t::gt:
         return port > numbers.at(0);
      case acl_range_operator_t::lt:
         return port < numbers.at(0);
      case acl_range_operator_t::range:
         return port >= numbers.at(0) && port <= numbers.at(1);
   }
   return false;
}

bool isAny(const acl_range_operator_t oper) {
   return oper == acl_range_operator_t::any || oper == acl_range_operator_t::null_operator;
}

}  // namespace

void checkAclKey(const orv::acl_key_t& key) {
   if (key.acl_name().empty()) throw orv::invalid_argument_error("ACL name is empty, expected a name");
   if (key.acl_type() == orv::acl_type_t::none) {
      throw orv::invalid_argument_error(
           fmt::format("ACL {} has type none, expected ipv4, ipv6, eth or mpls", key.to_string()));
   }
}

void checkAclRule(const orv::acl_key_t& key, std::uint32_t seq, const AclRule& rule) {
   checkAclKey(key);
   checkText("ACL name", key.acl_name(), policyNameBytesMax);
   const auto where = [&] { return fmt::format("ACL {} rule {}", key.to_string(), seq); };
   std::visit(ListRuleCheck(key, RuleCheck(where)), rule);
}

void checkRawRule(absl::FunctionRef<std::string()> where, const orv::acl_rule_ip_t& rule) {
   RuleCheck(where).match(rule, familyOf(rule));
}

AclPacket aclPacket(const orv::ip_addr_t& source, const orv::ip_addr_t& destination, std::uint32_t protocol,
                    std::uint32_t sourcePort, std::uint32_t destinationPort) {
   if (source.width() == 0 || source.af() != destination.af()) {
      throw orv::invalid_argument_error(fmt::format(
           "source '{}' and destination '{}', expected two addresses of one family", source, destination));
   }
   if (protocol > 255) throw orv::invalid_range_error("ip protocol", std::uint64_t{protocol}, 0, 255);
   if (sourcePort > 65535) throw orv::invalid_range_error("source port", std::uint64_t{sourcePort}, 0, 65535);
   if (destinationPort > 65535) {
      throw orv::invalid_range_error("destination port", std::uint64_t{destinationPort}, 0, 65535);
   }
   return {.source = source,
           .destination = destination,
           .protocol = static_cast<std::uint8_t>(protocol),
           .sourcePort = static_cast<std::uint16_t>(sourcePort),
           .destinationPort = static_cast<std::uint16_t>(destinationPort)};
}

bool matches(const orv::acl_rule_ip_t& rule, const AclPacket& packet) {
   const bool looksElsewhere = rule.vlan() != 0 || rule.inner_vlan() != 0 || !isAny(rule.ttl().oper()) ||
                               !rule.nexthop_group().empty() || rule.tcp_flags() != 0 || rule.established() ||
                               rule.icmp_type() != 65535 || rule.icmp_code() != 65535 ||
                               rule.match_fragments() || rule.match_ip_priority();
   if (looksElsewhere) return false;
   const auto family = rule.ip_type() == orv::acl_ip_type_t::ipv4   ? orv::af_ipv4
                       : rule.ip_type() == orv::acl_ip_type_t::ipv6 ? orv::af_ipv6
                                                                    : packet.source.af();
   return family == packet.source.af() &&
          (rule.ip_protocol() == 0 || rule.ip_protocol() == packet.protocol) &&
          covers(rule.source_addr(), packet.source) && covers(rule.destination_addr(), packet.destination) &&
          covers(rule.source_port(), packet.sourcePort) &&
          covers(rule.destination_port(), packet.destinationPort);
}

}  // namespace softswitch
