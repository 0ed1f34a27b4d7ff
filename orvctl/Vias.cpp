#include "orvctl/Vias.h"

#include <fmt/format.h>

#include "orvctl/EnumWords.h"
#include "orvctl/ExitCode.h"
#include "orvctl/Values.h"
#include "orvctl/WordLine.h"

namespace orvctl {
namespace rpc = orv::remote;
namespace {

constexpr uint32_t kNullLabel = 1048576;
constexpr int kLabelsMax = 14;

bool isNullLabel(const rpc::MplsLabel& label) {
   return !label.has_label() || label.label() == kNullLabel;
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
