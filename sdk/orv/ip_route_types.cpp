#include "orv/ip_route_types.h"

#include "orv/record_text.h"

namespace orv {

std::string_view enum_text(ip_route_action_t v) noexcept {
   switch (v) {
      case ip_route_action_t::forward:
         return "forward";
      case ip_route_action_t::drop:
         return "drop";
      case ip_route_action_t::punt:
         return "punt";
      case ip_route_action_t::nexthop_group:
         return "nexthop-group";
   }
   return {};
}

std::string ip_route_key_t::to_string() const {
   if (preference_ == 1) return prefix_.to_string();
   return fmt::format("{} preference {}", prefix_.to_string(), preference_);
}

std::size_t ip_route_t::hash() const {
   return detail::hash_of(key_, tag_, rib_bypass_, command_tag_);
}

std::string ip_route_t::to_string() const {
   return detail::record_text("ip_route_t", {{"key", detail::text_of(key_)},
                                             {"tag", detail::text_of(tag_)},
                                             {"rib_bypass", detail::text_of(rib_bypass_)},
                                             {"command_tag", detail::text_of(command_tag_)}});
}

std::size_t ip_route_via_t::hash() const {
   return detail::hash_of(route_key_, hop_, intf_, nexthop_group_, mpls_label_, vni_, vtep_addr_, router_mac_,
                          egress_vrf_, metric_, vxlan_intf_, vtep_sip_validation_, weight_);
}

std::string ip_route_via_t::to_string() const {
   return detail::record_text("ip_route_via_t",
                              {{"route_key", detail::text_of(route_key_)},
                               {"hop", detail::text_of(hop_)},
                               {"intf", detail::text_of(intf_)},
                               {"nexthop_group", detail::text_of(nexthop_group_)},
                               {"mpls_label", detail::text_of(mpls_label_)},
                               {"vni", detail::text_of(vni_)},
                               {"vtep_addr", detail::text_of(vtep_addr_)},
                               {"router_mac", detail::text_of(router_mac_)},
                               {"egress_vrf", detail::text_of(egress_vrf_)},
                               {"metric", detail::text_of(metric_)},
                               {"vxlan_intf", detail::text_of(vxlan_intf_)},
                               {"vtep_sip_validation", detail::text_of(vtep_sip_validation_)},
                               {"weight", detail::text_of(weight_)}});
}

}  // namespace orv
