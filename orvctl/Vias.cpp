#include "orvctl/Vias.h"

#include <fmt/format.h>

#include "orvctl/EnumWords.h"
#include "orvctl/ExitCode.h"
#include "orvctl/JsonText.h"
#include "orvctl/Values.h"
#include "orvctl/WordLine.h"

namespace orvctl {
namespace rpc = orv::remote;
namespace {

constexpr uint32_t kNullLabel = 1048576;
constexpr int kLabelsMax = 14;

constexpr std::string_view kIpViaKeys =
     "comma-separated address=IP, intf=NAME, group=NAME, label=L, vni=N, vtep=IP, router-mac=MAC, "
     "egress-vrf=NAME, "
     "metric=N, vxlan=INTF, sip-validation, weight=N, or a JSON IpRouteVia";
constexpr std::string_view kMplsViaKeys =
     "comma-separated address=IP, intf=NAME, group=NAME, op=push|pop|swap|forward, label=L, "
     "ttl=uniform|pipe, "
     "payload=ipv4|ipv6|mpls|autodecide, skip-egress-acl, or a JSON MplsRouteVia";

[[noreturn]] void refuseVia(std::string_view what, std::string_view text, std::string_view expected) {
   throw UsageError(fmt::format("{} is '{}', expected {}", what, text, expected));
}

bool isNullLabel(const rpc::MplsLabel& label) {
   return !label.has_label() || label.label() == kNullLabel;
}

// One part of a via on the command line: KEY=VALUE, or a KEY that stands alone.
struct ViaPart {
   std::string_view key;
   std::string_view value;
   // The via's name and the key, for errors.
   std::string field;

   uint32_t number(uint64_t high) const { return static_cast<uint32_t>(parseNumber(field, value, 0, high)); }
   template <typename Enum>
   Enum enumeration() const {
      return static_cast<Enum>(parseEnum(field, value, *google::protobuf::GetEnumDescriptor<Enum>()));
   }
};

// Calls `each(part)` for every comma-separated part, until it returns false for an unknown key. The key
// `alone` has no value, all others have one.
template <typename Each>
void forEachViaPart(std::string_view what, std::string_view text, std::string_view alone,
                    std::string_view expected, Each each) {
   std::string_view rest = text;
   for (size_t comma = 0; comma != std::string_view::npos;) {
      comma = rest.find(',');
      const std::string_view part = rest.substr(0, comma);
      if (comma != std::string_view::npos) rest.remove_prefix(comma + 1);
      const size_t equals = part.find('=');
      ViaPart parsed{.key = part.substr(0, equals), .value = {}, .field = {}};
      if (equals != std::string_view::npos) parsed.value = part.substr(equals + 1);
      parsed.field = fmt::format("{} {}", what, parsed.key);
      const bool standsAlone = equals == std::string_view::npos;
      if (standsAlone != (parsed.key == alone) || standsAlone != parsed.value.empty() || !each(parsed))
         refuseVia(what, text, expected);
   }
}

std::string parseMac(const ViaPart& part) {
   constexpr size_t kMacBytes = 6;
   const auto bytes = wireAddressBytes(part.value);
   if (!bytes || bytes->size() != kMacBytes)
      refuseVia(part.field, part.value, "a MAC address such as 02:00:00:00:00:01");
   return *bytes;
}

}  // namespace

std::string viaText(const rpc::IpRouteVia& via) {
   WordLine line;
   line.address("", via.hop());
   line.word(via.intf().name());
   line.word("group", via.nexthop_group());
   if (via.has_mpls_label() && via.mpls_label() != kNullLabel)
      line.word("label", std::to_string(via.mpls_label()));
   line.number("vni", via.vni());
   line.address("vtep", via.vtep_addr());
   line.address("router-mac", via.router_mac());
   line.word("egress-vrf", via.egress_vrf());
   line.number("metric", via.metric());
   line.word("vxlan", via.vxlan_intf().name());
   if (via.vtep_sip_validation()) line.word("sip-validation");
   line.number("weight", via.weight());
   return line.text();
}

std::string viaText(const rpc::MplsRouteVia& via) {
   WordLine line;
   line.address("", via.hop());
   line.word(via.intf().name());
   line.word("group", via.nexthop_group());
   if (via.label_action() != rpc::MPLS_ACTIONS_NONE) line.word(enumWord(via.label_action()));
   if (!isNullLabel(via.pushswap_label())) line.word(std::to_string(via.pushswap_label().label()));
   if (via.ttl_mode() != rpc::MPLS_TTL_MODE_UNDEFINED) line.word("ttl", enumWord(via.ttl_mode()));
   if (via.payload_type() != rpc::MPLS_PAYLOAD_TYPE_UNDEFINED)
      line.word("payload", enumWord(via.payload_type()));
   if (via.skip_egress_acl()) line.word("skip-egress-acl");
   return line.text();
}

std::string viaText(const rpc::FibFecVia& via) {
   WordLine line;
   line.address("", via.hop());
   line.word(via.intf().name());
   if (!isNullLabel(via.mpls_label())) line.word("label", std::to_string(via.mpls_label().label()));
   return line.text();
}

rpc::IpRouteVia parseIpRouteVia(std::string_view what, std::string_view text) {
   rpc::IpRouteVia via;
   if (text.starts_with('{')) {
      messageFromJson(what, text, via);
      return via;
   }
   forEachViaPart(what, text, "sip-validation", kIpViaKeys, [&](const ViaPart& part) {
      const std::string_view key = part.key;
      if (key == "address") {
         via.set_hop(parseAddressBytes(part.field, part.value));
      } else if (key == "intf") {
         via.mutable_intf()->set_name(std::string(part.value));
      } else if (key == "group") {
         via.set_nexthop_group(std::string(part.value));
      } else if (key == "label") {
         via.set_mpls_label(part.number(kNullLabel - 1));
      } else if (key == "vni") {
         via.set_vni(part.number(UINT32_MAX));
      } else if (key == "vtep") {
         via.set_vtep_addr(parseAddressBytes(part.field, part.value));
      } else if (key == "router-mac") {
         via.set_router_mac(parseMac(part));
      } else if (key == "egress-vrf") {
         via.set_egress_vrf(std::string(part.value));
      } else if (key == "metric") {
         via.set_metric(part.number(UINT32_MAX));
      } else if (key == "vxlan") {
         via.mutable_vxlan_intf()->set_name(std::string(part.value));
      } else if (key == "sip-validation") {
         via.set_vtep_sip_validation(true);
      } else if (key == "weight") {
         via.set_weight(part.number(UINT32_MAX));
      } else {
         return false;
      }
      return true;
   });
   return via;
}

rpc::MplsRouteVia parseMplsRouteVia(std::string_view what, std::string_view text) {
   rpc::MplsRouteVia via;
   if (text.starts_with('{')) {
      messageFromJson(what, text, via);
      return via;
   }
   forEachViaPart(what, text, "skip-egress-acl", kMplsViaKeys, [&](const ViaPart& part) {
      const std::string_view key = part.key;
      if (key == "address") {
         via.set_hop(parseAddressBytes(part.field, part.value));
      } else if (key == "intf") {
         via.mutable_intf()->set_name(std::string(part.value));
      } else if (key == "group") {
         via.set_nexthop_group(std::string(part.value));
      } else if (key == "op") {
         via.set_label_action(part.enumeration<rpc::MplsActions>());
      } else if (key == "label") {
         via.mutable_pushswap_label()->set_label(part.number(kNullLabel - 1));
      } else if (key == "ttl") {
         via.set_ttl_mode(part.enumeration<rpc::MplsTtlMode>());
      } else if (key == "payload") {
         via.set_payload_type(part.enumeration<rpc::MplsPayloadType>());
      } else if (key == "skip-egress-acl") {
         via.set_skip_egress_acl(true);
      } else {
         return false;
      }
      return true;
   });
   return via;
}

std::string prefixText(const rpc::Prefix& prefix) {
   return fmt::format("{}/{}", wireAddressText(prefix.network()).value_or("(no address)"),
                      prefix.prefix_length());
}

rpc::Prefix parseWirePrefix(std::string_view what, std::string_view text) {
   const auto parsed = parsePrefix(what, text);
   rpc::Prefix prefix;
   prefix.set_network(parsed.network().address());
   prefix.set_prefix_length(parsed.prefix_length());
   return prefix;
}

std::string labelsText(const rpc::MplsRouteKey& key) {
   std::string text;
   for (const auto& label : key.labels()) {
      if (!text.empty()) text += '/';
      text += isNullLabel(label) ? "null" : std::to_string(label.label());
   }
   return text;
}

rpc::MplsRouteKey parseLabels(std::string_view what, std::string_view text) {
   rpc::MplsRouteKey key;
   std::string_view rest = text;
   for (size_t slash = 0; slash != std::string_view::npos;) {
      slash = rest.find('/');
      key.add_labels()->set_label(
           static_cast<uint32_t>(parseNumber(what, rest.substr(0, slash), 0, kNullLabel - 1)));
      if (slash != std::string_view::npos) rest.remove_prefix(slash + 1);
   }
   if (key.labels_size() > kLabelsMax) {
      throw UsageError(fmt::format("{} is '{}', expected at most {} labels", what, text, kLabelsMax));
   }
   return key;
}

}  // namespace orvctl
